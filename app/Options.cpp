#include "app/CQorModelTool.h"

#include "impl/CQorModelToolImpl.h"
#include "xml/CXMLParser.h"

#include <Poco/Logger.h>
#include <Poco/Util/HelpFormatter.h>
#include <Poco/Util/Option.h>
#include <Poco/Util/OptionCallback.h>
#include <Poco/Util/OptionSet.h>

#include <syslog.h>

#include <iostream>
#include <memory>

namespace QMT
{

using Poco::Util::Option;
using Poco::Util::OptionCallback;
using Poco::Util::OptionSet;

namespace
{

using Handler = void (CQorModelTool::*)(const std::string&, const std::string&);

Option optionFor(CQorModelTool* tool, Handler handler, const Option& option)
{
    return Option(option).required(false).repeatable(false).callback(OptionCallback<CQorModelTool>(tool, handler));
}

Option flag(const std::string& name, const std::string& letter, const std::string& description)
{
    return Option(name, letter, description);
}

Option valued(const std::string& name, const std::string& letter, const std::string& argument,
              const std::string& description)
{
    return Option(name, letter, description).argument(argument);
}

} // namespace

void CQorModelTool::defineOptions(OptionSet& options)
{
    const auto add = [this, &options](Handler handler, const Option& option)
    { options.addOption(optionFor(this, handler, option)); };

    add(&CQorModelTool::handleHelp, flag("help", "h", "Display help information on command line arguments.\n"));
    add(&CQorModelTool::handleAddModelFile,
        valued("addModelFile", "a", "<absolute model file path>", "Stage full path of a model file to be added.\n"));
    add(&CQorModelTool::handleRemoveModelFile, valued("removeModelFile", "x", "<absolute model file path>",
                                                      "Stage full path of a model file to be removed.\n"));
    add(&CQorModelTool::handleModelHandler,
        valued("modelHandler", "m", "<model handler name>",
               "Stage the name of a model handler to be associated with the model file.\n"));
    add(&CQorModelTool::handleManagedObjectVersion,
        valued("managedObjectVersion", "o", "<managed object version>",
               "Stage the version of PelOamSpiManagedObject to be associated with the model handler.\n"));
    add(&CQorModelTool::handleTransactionalResourceVersion,
        valued("transactionalResourceVersion", "t", "<transactional resource version>",
               "Stage the version of PelOamSpiTransactionalResource to be associated with the model handler.\n"));
    add(&CQorModelTool::handleCommit, flag("commit", "c", "Commit and apply the pending changes.\n"));
    add(&CQorModelTool::handleRollback,
        flag("rollback", "r", "Rollback a committed transaction or undo any pending changes.\n"));
    add(&CQorModelTool::handleStatus, flag("status", "s", "Show staged pending changes.\n"));
}

void CQorModelTool::displayHelp(const OptionSet& options, std::string& command)
{
    const int WIDTH = 128;

    Poco::Util::HelpFormatter formatter(options);
    formatter.setCommand(command);
    formatter.setAutoIndent();
    formatter.setWidth(WIDTH);
    formatter.setUsage("[-] [--] OPTIONS");
    formatter.setHeader(std::string("qor_mim_tool ") + "v" QMT_VERSION);
    formatter.format(std::cout);
}

void CQorModelTool::initialize(Poco::Util::Application&)
{
    if (!_impl->validateEnvironment())
    {
        _logger->warning("Invaild environment, exiting.");
        ::syslog(LOG_WARNING, "Invalid Environment, exiting");
        return;
    }
    _impl->commandLine().newSession = !_impl->isLockFile();
    _impl->setParser(std::make_unique<CXMLParser>(*this, _logger));
}

bool CQorModelTool::isCmdGiven() const
{
    return _impl->commandLine().commandGiven;
}

bool CQorModelTool::isHelpRequested() const
{
    return _impl->commandLine().helpRequested;
}

void CQorModelTool::handleHelp(const std::string&, const std::string&)
{
    _impl->commandLine().helpRequested = true;
    _impl->commandLine().commandGiven = true;
}

void CQorModelTool::handleCommit(const std::string&, const std::string&)
{
    _impl->commandLine().commandGiven = true;
    _impl->commandLine().commitRequested = true;
}

void CQorModelTool::handleRollback(const std::string&, const std::string&)
{
    _impl->commandLine().commandGiven = true;
    _impl->commandLine().rollbackRequested = true;
}

} // namespace QMT
