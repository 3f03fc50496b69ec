#ifndef QMT_CPlanCommand_INCLUDED
#define QMT_CPlanCommand_INCLUDED

#include "ctl/CActionOptions.h"
#include "ctl/CCommand.h"

namespace QMT
{

/// Shows what a commit of the open session, or an apply of the given actions, would do. Changes nothing.
class CPlanCommand : public CCommand
{
public:
    std::string name() const override;
    std::string summary() const override;
    void defineOptions(Poco::Util::OptionSet& options) const override;
    void takeOption(const std::string& name, const std::string& value) override;
    void checkOptions() const override;
    Answer run(const std::string& qorPath) override;

private:
    CActionOptions _options;
};

} // namespace QMT

#endif // QMT_CPlanCommand_INCLUDED
