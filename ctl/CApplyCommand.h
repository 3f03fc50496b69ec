#ifndef QMT_CApplyCommand_INCLUDED
#define QMT_CApplyCommand_INCLUDED

#include "ctl/CActionOptions.h"
#include "ctl/CCommand.h"
#include "ctl/Waiting.h"

#include <optional>

namespace QMT
{

/// Executes actions as one transaction: all of them, or none.
class CApplyCommand : public CCommand
{
public:
    std::string name() const override;
    std::string summary() const override;
    void defineOptions(Poco::Util::OptionSet& options) const override;
    void takeOption(const std::string& name, const std::string& value) override;
    void checkOptions() const override;
    Answer run(const std::string& qorPath) override;

private:
    Answer runAlone(const std::string& qorPath, Deadline deadline) const;
    std::optional<Answer> attempt(const std::string& qorPath) const;

    CActionOptions _options;
    unsigned int _wait = 0;
};

} // namespace QMT

#endif // QMT_CApplyCommand_INCLUDED
