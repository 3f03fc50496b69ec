#include "app/CQorModelToolWrapper.h"

#include "app/CQorModelTool.h"

namespace QMT
{

CQorModelToolWrapper::CQorModelToolWrapper(CQorModelTool& tool) : _tool(tool)
{
}

CQorModelToolWrapper::~CQorModelToolWrapper() = default;

void CQorModelToolWrapper::initialize(Poco::Util::Application& self)
{
    _tool.initialize(self);
    Application::initialize(self);
}

void CQorModelToolWrapper::defineOptions(Poco::Util::OptionSet& options)
{
    Application::defineOptions(options);
    _tool.defineOptions(options);
}

int CQorModelToolWrapper::main(const std::vector<std::string>& args)
{
    if (_tool.isHelpRequested() || !_tool.isCmdGiven())
    {
        std::string command = commandName();
        _tool.displayHelp(options(), command);
        stopOptionsProcessing();
    }
    return _tool.main(args);
}

} // namespace QMT
