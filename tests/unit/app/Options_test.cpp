#include "app/CQorModelTool.h"
#include "support/CapturedOutput.h"
#include "support/Files.h"
#include "support/ImplTest.h"
#include "xml/CXMLParser.h"

#include <Poco/DOM/Document.h>
#include <Poco/Util/Application.h>
#include <Poco/Util/Option.h>
#include <Poco/Util/OptionSet.h>

#include <syslog.h>

#include <iostream>

namespace QMT::Test
{

namespace
{

using Poco::Util::Option;
using Poco::Util::OptionSet;

class Options : public ImplTest
{
protected:
    Options() : tool(&impl, log.logger())
    {
        log.clear();
    }

    CQorModelTool tool;
};

/// An option in short: names, argument, whether it must have one, and what it is for.
struct Described
{
    std::string fullName;
    std::string shortName;
    std::string argument;
    std::string description;
};

const std::vector<Described> NINE = {
    {"help", "h", "", "Display help information on command line arguments.\n"},
    {"addModelFile", "a", "<absolute model file path>", "Stage full path of a model file to be added.\n"},
    {"removeModelFile", "x", "<absolute model file path>", "Stage full path of a model file to be removed.\n"},
    {"modelHandler", "m", "<model handler name>",
     "Stage the name of a model handler to be associated with the model file.\n"},
    {"managedObjectVersion", "o", "<managed object version>",
     "Stage the version of PelOamSpiManagedObject to be associated with the model handler.\n"},
    {"transactionalResourceVersion", "t", "<transactional resource version>",
     "Stage the version of PelOamSpiTransactionalResource to be associated with the model handler.\n"},
    {"commit", "c", "", "Commit and apply the pending changes.\n"},
    {"rollback", "r", "", "Rollback a committed transaction or undo any pending changes.\n"},
    {"status", "s", "", "Show staged pending changes.\n"},
};

TEST_F(Options, DefineOptionsAddsNineInOrder)
{
    OptionSet options;

    tool.defineOptions(options);

    auto expected = NINE.begin();
    for (const Option& option : options)
    {
        ASSERT_NE(expected, NINE.end());
        EXPECT_EQ(option.fullName(), expected->fullName);
        EXPECT_EQ(option.shortName(), expected->shortName);
        EXPECT_EQ(option.argumentName(), expected->argument);
        EXPECT_EQ(option.description(), expected->description);
        EXPECT_EQ(option.takesArgument(), !expected->argument.empty());
        EXPECT_EQ(option.argumentRequired(), !expected->argument.empty());
        EXPECT_FALSE(option.required());
        EXPECT_FALSE(option.repeatable());
        ++expected;
    }
    EXPECT_EQ(expected, NINE.end());
}

TEST_F(Options, DefineOptionsBindsTheHandlers)
{
    OptionSet options;
    tool.defineOptions(options);

    for (const Option& option : options)
    {
        option.callback()->invoke(option.fullName(), "value of " + option.fullName());
    }

    const Request& request = impl.request();
    EXPECT_TRUE(request.helpRequested);
    EXPECT_TRUE(request.addStaged);
    EXPECT_TRUE(request.removeStaged);
    EXPECT_EQ(request.modelFile, "value of removeModelFile");
    EXPECT_EQ(request.modelHandler, "value of modelHandler");
    EXPECT_EQ(impl.moVersion(), "value of managedObjectVersion");
    EXPECT_EQ(impl.trVersion(), "value of transactionalResourceVersion");
    EXPECT_TRUE(request.commitRequested);
    EXPECT_TRUE(request.rollbackRequested);
    EXPECT_TRUE(request.statusRequested);
}

// ---- displayHelp ----

/// One option in the help text: its first line, the margin of what follows, and the text beside them.
std::string helpOf(const std::string& option, const std::vector<std::string>& lines)
{
    const std::size_t MARGIN = 101;
    std::string text = option + std::string(MARGIN - option.size(), ' ');
    for (const std::string& line : lines)
    {
        text += line + "\n" + std::string(MARGIN, ' ');
    }
    return text + "\n";
}

TEST_F(Options, DisplayHelpExplainsEveryOption)
{
    OptionSet options;
    tool.defineOptions(options);
    std::string command = "the-command";
    const CapturedOutput output;

    tool.displayHelp(options, command);

    EXPECT_EQ(output.text(),
              "usage: the-command [-] [--] OPTIONS\n"
              "qor_mim_tool v1.0\n\n" +
                  helpOf("-h, --help", {"Display help information on", "command line arguments."}) +
                  helpOf("-a<absolute model file path>, --addModelFile=<absolute model file path>",
                         {"Stage full path of a model ", "file to be added."}) +
                  helpOf("-x<absolute model file path>, --removeModelFile=<absolute model file path>",
                         {"Stage full path of a model ", "file to be removed."}) +
                  helpOf("-m<model handler name>, --modelHandler=<model handler name>",
                         {"Stage the name of a model ", "handler to be associated ", "with the model file."}) +
                  helpOf("-o<managed object version>, --managedObjectVersion=<managed object version>",
                         {"Stage the version of ", "PelOamSpiManagedObject to ", "be associated with the ",
                          "model handler."}) +
                  helpOf("-t<transactional resource version>, "
                         "--transactionalResourceVersion=<transactional resource version>",
                         {"Stage the version of ", "PelOamSpiTransactionalResou", "ce to be associated with ",
                          "the model handler."}) +
                  helpOf("-c, --commit", {"Commit and apply the ", "pending changes."}) +
                  helpOf("-r, --rollback", {"Rollback a committed ", "transaction or undo any ", "pending changes."}) +
                  helpOf("-s, --status", {"Show staged pending ", "changes."}));
    EXPECT_EQ(log.messages(), SILENCE);
}

// ---- initialize ----

class Initialize : public Options
{
protected:
    void initialize()
    {
        const CapturedOutput console(std::clog);
        Poco::AutoPtr<Poco::Util::Application> application(new Poco::Util::Application);
        log.reattach();
        tool.initialize(*application);
    }
};

TEST_F(Initialize, CreatesAnEditorAndRecordsANewSession)
{
    initialize();

    EXPECT_NE(impl.parser(), nullptr);
    EXPECT_TRUE(impl.request().newSession);
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(Initialize, RecordsAnOpenSession)
{
    writeFile(framework.lock(), "any-host");

    initialize();

    EXPECT_FALSE(impl.request().newSession);
}

TEST_F(Initialize, ReplacesTheDocumentEditor)
{
    initialize();
    impl.qorPath() = framework.path() + "/other";

    initialize();

    impl.componentName() = "b";
    CXMLParser::DocumentPtr document =
        CXMLParser::parseFile("<a><participant/><participant><managedObject compName='b'/></participant></a>");
    EXPECT_EQ(impl.parser()->removeModelHandler(document, "b"), 1);
    EXPECT_TRUE(exists(framework.path() + "/other/etc/qor.cfg.tmp"));
}

TEST_F(Initialize, CreatesNoEditorInAnInvalidEnvironment)
{
    impl.qorPath() = framework.file("file", "");

    initialize();

    EXPECT_EQ(impl.parser(), nullptr);
    EXPECT_FALSE(impl.request().newSession);
    const std::string reason = "not a directory: " + framework.path() + "/models/file/etc";
    EXPECT_EQ(log.messages(),
              (Messages{{Poco::Message::PRIO_WARNING, "Unable to create directory structure: " + reason},
                        {Poco::Message::PRIO_WARNING, "Invaild environment, exiting."}}));
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_WARNING, "unable to create directory structure " + reason},
                                              {LOG_WARNING, "Invalid Environment, exiting"}}));
}

// ---- Handlers ----

TEST_F(Options, HandleHelpRecordsTheRequest)
{
    tool.handleHelp("help", "");

    EXPECT_TRUE(tool.isHelpRequested());
    EXPECT_TRUE(tool.isCmdGiven());
    EXPECT_FALSE(impl.request().commitRequested);
    EXPECT_FALSE(impl.request().rollbackRequested);
}

TEST_F(Options, HandleCommitRecordsTheRequest)
{
    tool.handleCommit("commit", "");

    EXPECT_TRUE(impl.request().commitRequested);
    EXPECT_TRUE(tool.isCmdGiven());
    EXPECT_FALSE(impl.request().rollbackRequested);
    EXPECT_FALSE(tool.isHelpRequested());
}

TEST_F(Options, HandleRollbackRecordsTheRequest)
{
    tool.handleRollback("rollback", "");

    EXPECT_TRUE(impl.request().rollbackRequested);
    EXPECT_TRUE(tool.isCmdGiven());
    EXPECT_FALSE(impl.request().commitRequested);
    EXPECT_FALSE(tool.isHelpRequested());
}

TEST_F(Options, IsCmdGivenIsFalseAtFirst)
{
    EXPECT_FALSE(tool.isCmdGiven());
    EXPECT_FALSE(tool.isHelpRequested());
}

} // namespace

} // namespace QMT::Test
