#ifndef QMT_CShowCommand_INCLUDED
#define QMT_CShowCommand_INCLUDED

#include "ctl/CCommand.h"

namespace QMT
{

/// Shows the installed models, their handlers, the open session with its owner, and the backup. Changes nothing.
class CShowCommand : public CCommand
{
public:
    std::string name() const override;
    std::string summary() const override;

    /// Its keys, all null: an answer of this command always has them.
    Poco::JSON::Object keysOfFailure() const override;

    Answer run(const std::string& qorPath) override;
};

} // namespace QMT

#endif // QMT_CShowCommand_INCLUDED
