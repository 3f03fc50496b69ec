#ifndef QMT_CCheckCommand_INCLUDED
#define QMT_CCheckCommand_INCLUDED

#include "ctl/CCommand.h"

namespace QMT
{

/// Looks for everything that is wrong with a framework and says how to fix it. Changes nothing.
class CCheckCommand : public CCommand
{
public:
    std::string name() const override;
    std::string summary() const override;
    Answer run(const std::string& qorPath) override;
};

} // namespace QMT

#endif // QMT_CCheckCommand_INCLUDED
