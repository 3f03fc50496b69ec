#ifndef QMT_CRecoverCommand_INCLUDED
#define QMT_CRecoverCommand_INCLUDED

#include "ctl/CCommand.h"
#include "ctl/Recovery.h"
#include "ctl/RecoverySteps.h"
#include "ctl/Waiting.h"

#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// The command that recovers a framework after an interrupted run. It must not be called while the tool runs.
class CRecoverCommand : public CCommand
{
public:
    std::string name() const override;
    std::string summary() const override;
    void defineOptions(Poco::Util::OptionSet& options) const override;
    void takeOption(const std::string& name, const std::string& value) override;
    Answer run(const std::string& qorPath) override;

private:
    Answer runAlone(const std::string& qorPath, Deadline deadline) const;
    Answer executeSteps(const std::string& qorPath, const Recovery& recovery,
                        const std::vector<RecoveryStep>& steps) const;

    bool _isDryRun = false;
    bool _isForced = false;
    unsigned int _wait = 0;
    std::optional<Assumption> _assumption;
};

} // namespace QMT

#endif // QMT_CRecoverCommand_INCLUDED
