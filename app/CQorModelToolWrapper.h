#ifndef QMT_CQorModelToolWrapper_INCLUDED
#define QMT_CQorModelToolWrapper_INCLUDED

#include <Poco/Util/Application.h>

#include <string>
#include <vector>

namespace QMT
{

class CQorModelTool;

/// The application object: forwards the application framework's calls to the tool object and has no logic of its own.
class CQorModelToolWrapper : public Poco::Util::Application
{
public:
    /// `tool` is not owned and outlives the object.
    explicit CQorModelToolWrapper(CQorModelTool& tool);
    CQorModelToolWrapper(const CQorModelToolWrapper&) = delete;
    CQorModelToolWrapper& operator=(const CQorModelToolWrapper&) = delete;
    CQorModelToolWrapper(CQorModelToolWrapper&&) = delete;
    CQorModelToolWrapper& operator=(CQorModelToolWrapper&&) = delete;

protected:
    ~CQorModelToolWrapper() override;

    void initialize(Poco::Util::Application& self) override;
    void defineOptions(Poco::Util::OptionSet& options) override;

    /// Writes the help text when it was asked for or no option was given, and runs the driver in any case. Returns the
    /// driver's result.
    int main(const std::vector<std::string>& args) override;

private:
    CQorModelTool& _tool;
};

} // namespace QMT

#endif // QMT_CQorModelToolWrapper_INCLUDED
