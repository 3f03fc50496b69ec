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

struct OptionRow
{
    const char* name;
    const char* letter;
    const char* argument; ///< empty for an option without a value
    const char* description;
    void (CQorModelTool::*handler)(const std::string&, const std::string&);
};

const char* const MODEL_FILE_PATH = "<absolute model file path>";

const OptionRow OPTIONS[] = {
    {"help", "h", "", "Display help information on command line arguments.\n", &CQorModelTool::handleHelp},
    {"addModelFile", "a", MODEL_FILE_PATH, "Stage full path of a model file to be added.\n",
     &CQorModelTool::handleAddModelFile},
    {"removeModelFile", "x", MODEL_FILE_PATH, "Stage full path of a model file to be removed.\n",
     &CQorModelTool::handleRemoveModelFile},
    {"modelHandler", "m", "<model handler name>",
     "Stage the name of a model handler to be associated with the model file.\n", &CQorModelTool::handleModelHandler},
    {"managedObjectVersion", "o", "<managed object version>",
     "Stage the version of PelOamSpiManagedObject to be associated with the model handler.\n",
     &CQorModelTool::handleManagedObjectVersion},
    {"transactionalResourceVersion", "t", "<transactional resource version>",
     "Stage the version of PelOamSpiTransactionalResource to be associated with the model handler.\n",
     &CQorModelTool::handleTransactionalResourceVersion},
    {"commit", "c", "", "Commit and apply the pending changes.\n", &CQorModelTool::handleCommit},
    {"rollback", "r", "", "Rollback a committed transaction or undo any pending changes.\n",
     &CQorModelTool::handleRollback},
    {"status", "s", "", "Show staged pending changes.\n", &CQorModelTool::handleStatus},
};

} // namespace

void CQorModelTool::defineOptions(OptionSet& options)
{
    for (const OptionRow& row : OPTIONS)
    {
        Option option(row.name, row.letter, row.description);
        option.required(false).repeatable(false).callback(OptionCallback<CQorModelTool>(this, row.handler));
        if (*row.argument != '\0')
        {
            option.argument(row.argument);
        }
        options.addOption(option);
    }
}

void CQorModelTool::displayHelp(const OptionSet& options, std::string& command)
{
    const int WIDTH = 128;

    Poco::Util::HelpFormatter formatter(options);
    formatter.setCommand(command);
    formatter.setAutoIndent();
    formatter.setWidth(WIDTH);
    formatter.setUsage("[-] [--] OPTIONS");
    // The interface's version, independent of the package's.
    formatter.setHeader("qor_mim_tool v1.0");
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
    _impl->request().newSession = !_impl->isLockFile();
    _impl->setParser(std::make_unique<CXMLParser>(*this, _logger));
}

bool CQorModelTool::isCmdGiven() const
{
    return _impl->request().commandGiven;
}

bool CQorModelTool::isHelpRequested() const
{
    return _impl->request().helpRequested;
}

void CQorModelTool::handleHelp(const std::string&, const std::string&)
{
    _impl->request().helpRequested = true;
    _impl->request().commandGiven = true;
}

void CQorModelTool::handleCommit(const std::string&, const std::string&)
{
    _impl->request().commandGiven = true;
    _impl->request().commitRequested = true;
}

void CQorModelTool::handleRollback(const std::string&, const std::string&)
{
    _impl->request().commandGiven = true;
    _impl->request().rollbackRequested = true;
}

} // namespace QMT
