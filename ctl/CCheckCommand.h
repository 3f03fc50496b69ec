#ifndef QMT_CCheckCommand_INCLUDED
#define QMT_CCheckCommand_INCLUDED

#include "ctl/CCommand.h"

namespace QMT
{

/// Reports all faults of a framework with their remedies. Changes nothing.
class CCheckCommand : public CCommand
{
public:
    std::string name() const override;
    std::string summary() const override;
    Answer run(const std::string& qorPath) override;
};

} // namespace QMT

#endif // QMT_CCheckCommand_INCLUDED
