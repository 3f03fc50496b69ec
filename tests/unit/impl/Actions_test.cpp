#include "support/ToolTest.h"
#include "support/XmlTest.h"

#include <Poco/Message.h>

#include <memory>

namespace QMT::Test
{

namespace
{

using Poco::Message;

const Messages::value_type NO_VALIDATOR = {Message::PRIO_WARNING, "Unable to locate model tool."};
const Messages::value_type NO_SEPARATOR = {Message::PRIO_WARNING, "Unable to locate model handler.\nAborting."};
const Messages::value_type DONE = {Message::PRIO_INFORMATION, COMPLETED};

Messages::value_type infoMessage(const std::string& text)
{
    return {Message::PRIO_INFORMATION, text};
}

/// The commit of a single queued action.
class Actions : public ToolTest
{
protected:
    Actions() : model(framework.model("m.xml", "M"))
    {
        given({{"a", {"A"}}});
    }

    void given(const std::vector<HandlerEntry>& handlers, const std::string& list = std::string()) const
    {
        writeFile(framework.configuration(), configurationOf(handlers));
        writeFile(framework.list(), list);
    }

    ToolRun commit(const std::string& entry) const
    {
        givenSession(entry + "\n");
        return runTool({"--commit"});
    }

    void expectLive(const std::vector<HandlerEntry>& handlers, const std::string& list) const
    {
        EXPECT_EQ(readFile(framework.configuration()), configurationOf(handlers));
        EXPECT_EQ(readFile(framework.list()), list);
    }

    const std::string model;
};

// ---- An addition ----

TEST_F(Actions, AddChangesTheListAlone)
{
    const ToolRun run = commit("0:" + model);

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{NO_VALIDATOR, DONE}));
    expectLive({{"a", {"A"}}}, model + "\n");
}

TEST_F(Actions, AddAcceptsAListedModelFile)
{
    given({{"a", {"A"}}}, model + "\n");

    const ToolRun run = commit("0:" + model);

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log,
              (Messages{infoMessage("Modelfile entry already exists: " + model + "\nSkipping adding of modelfile."),
                        NO_VALIDATOR, DONE}));
    expectLive({{"a", {"A"}}}, model + "\n");
}

TEST_F(Actions, AddFailsForAMissingModelFile)
{
    const ToolRun run = commit("0:/nonexistent/m.xml");

    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log, (Messages{infoMessage("Cannot find the model file: /nonexistent/m.xml"), FAILED}));
    expectLive({{"a", {"A"}}}, "");
}

// ---- A handler ----

TEST_F(Actions, HandlerTakesOverThePlaceholder)
{
    given({{"VELDA_OAM_COMPONENT", {}}});

    const ToolRun run = commit("1:h|2|3");

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{infoMessage("Replaced default QOR component tag with: h"), DONE}));
    expectLive({{"h", {}, "2", "3"}}, "");
}

TEST_F(Actions, HandlerFailsWithoutAPlaceholder)
{
    const ToolRun run = commit("1:h|2|3");

    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log,
              (Messages{infoMessage("Default model handler not found, ignoring modelHandler update!"), FAILED}));
    expectLive({{"a", {"A"}}}, "");
}

TEST_F(Actions, HandlerFailsWithoutASeparator)
{
    given({{"VELDA_OAM_COMPONENT", {}}});

    const ToolRun run = commit("1:h");

    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log, (Messages{NO_SEPARATOR, FAILED}));
    EXPECT_EQ(run.systemLog, (Messages{{4, "Unable to locate model handler.\nAborting."}}));
    expectLive({{"VELDA_OAM_COMPONENT", {}}}, "");
}

// ---- A removal ----

TEST_F(Actions, RemoveChangesTheListAlone)
{
    given({{"a", {"M"}}}, model + "\n/m/other.xml\n");

    const ToolRun run = commit("2:" + model);

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{infoMessage("Found and removed model entry: " + model), DONE}));
    EXPECT_EQ(run.systemLog, Messages());
    expectLive({{"a", {"M"}}}, "/m/other.xml\n");
}

TEST_F(Actions, RemoveSkipsAMissingModelFile)
{
    given({{"a", {"A"}}}, "/nonexistent/m.xml\n");

    const ToolRun run = commit("2:/nonexistent/m.xml");

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{infoMessage("Unable to find model file, skipping removal."), DONE}));
    expectLive({{"a", {"A"}}}, "/nonexistent/m.xml\n");
}

TEST_F(Actions, RemoveSkipsAnUnlistedModelFile)
{
    given({{"a", {"A"}}}, " /m/other.xml\n");

    const ToolRun run = commit("2:" + model);

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{infoMessage("Model file entry missing, skipping removal."), DONE}));
    expectLive({{"a", {"A"}}}, " /m/other.xml\n");
}

// ---- An addition with a handler ----

TEST_F(Actions, AddWithHandlerRegistersTheHandler)
{
    const ToolRun run = commit("3:" + model + "|h|2|3");

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{infoMessage("Adding new handler: h with root class: M"), NO_VALIDATOR, DONE}));
    expectLive({{"a", {"A"}}, {"h", {"M"}, "2", "3"}}, model + "\n");
}

TEST_F(Actions, AddWithHandlerTakesOverThePlaceholder)
{
    given({{"VELDA_OAM_COMPONENT", {}}});

    const ToolRun run = commit("3:" + model + "|h|2|3");

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{infoMessage("Replaced default QOR component tag with: h"),
                                 infoMessage("Found handler: h"), NO_VALIDATOR, DONE}));
    expectLive({{"h", {"M"}, "2", "3"}}, model + "\n");
}

TEST_F(Actions, AddWithHandlerFailsForAModelServedByAnother)
{
    given({{"a", {"M"}}});

    const ToolRun run = commit("3:" + model + "|h|1|1");

    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log, (Messages{infoMessage("Model handler : a for Root element: M already exists"), FAILED}));
    expectLive({{"a", {"M"}}}, "");
}

TEST_F(Actions, AddWithHandlerFailsWithoutASeparator)
{
    const ToolRun run = commit("3:" + model);

    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log, (Messages{NO_SEPARATOR, FAILED}));
    expectLive({{"a", {"A"}}}, "");
}

// ---- A removal with a handler ----

TEST_F(Actions, RemoveWithHandlerRemovesTheRootClassToo)
{
    given({{"a", {"A", "M"}}, {"b", {"M"}}}, model + "\n");

    const ToolRun run = commit("4:" + model + "|a|1|1");

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{infoMessage("Found handler: a"), infoMessage("Removed root entry M from a"),
                                 infoMessage("Found and removed model entry: " + model), DONE}));
    EXPECT_EQ(run.systemLog, Messages());
    expectLive({{"a", {"A"}}, {"b", {"M"}}}, "");
}

TEST_F(Actions, RemoveWithHandlerFailsForTheLastRootClass)
{
    given({{"a", {"M"}}}, model + "\n");

    const ToolRun run = commit("4:" + model + "|a|1|1");

    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log, (Messages{infoMessage("Found handler: a"), infoMessage("Unable to remove root entry"), FAILED}));
    expectLive({{"a", {"M"}}}, model + "\n");
}

TEST_F(Actions, RemoveWithHandlerSkipsAMissingModelFile)
{
    given({{"b", {"M"}}}, "/nonexistent/m.xml\n");

    const ToolRun run = commit("4:/nonexistent/m.xml|a|1|1");

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{infoMessage("Unable to find modelfile, skipping removal."), DONE}));
    expectLive({{"b", {"M"}}}, "/nonexistent/m.xml\n");
}

TEST_F(Actions, RemoveWithHandlerSkipsAnUnlistedModelFile)
{
    given({{"a", {"A", "M"}}});

    const ToolRun run = commit("4:" + model + "|a|1|1");

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{infoMessage("Found handler: a"), infoMessage("Removed root entry M from a"),
                                 infoMessage("Modelfile entry missing, skipping removal."), DONE}));
    expectLive({{"a", {"A"}}}, "");
}

TEST_F(Actions, RemoveWithHandlerFailsWithoutASeparator)
{
    given({{"a", {"A", "M"}}}, model + "\n");

    const ToolRun run = commit("4:" + model);

    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log, (Messages{NO_SEPARATOR, FAILED}));
    expectLive({{"a", {"A", "M"}}}, model + "\n");
}

TEST_F(Actions, RemoveWithHandlerFailsForAnEmptyPath)
{
    const ToolRun run = commit("4:|a|1|1");

    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log,
              (Messages{infoMessage("Found handler: a"),
                        infoMessage("Unable to parse and get the root class name from the model file."), FAILED}));
}

TEST_F(Actions, RemoveWithUnknownHandlerEndsWith70ForAnEmptyPath)
{
    const ToolRun run = commit("4:|h|1|1");

    EXPECT_EQ(run.status, 70);
    EXPECT_EQ(run.log, Messages());
    EXPECT_TRUE(exists(framework.lock()));
}

// ---- An unknown kind ----

TEST_F(Actions, UnknownKindIsSkipped)
{
    const ToolRun run = commit("7:" + model);

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{DONE}));
    expectLive({{"a", {"A"}}}, "");
}

/// Actions applied to a document, without a session.
class Apply : public XmlTest
{
protected:
    Apply()
    {
        impl.setParser(std::make_unique<CXMLParser>(tool, log.logger()));
        document = parse(configurationOf({{"a", {"A"}}}));
    }

    CXMLParser::DocumentPtr document;
};

TEST_F(Apply, FailsWhenTheListCannotBeWritten)
{
    putDirectoryAt(framework.list(".tmp"));

    EXPECT_EQ(impl.apply({CmdID::AddModelFileWithHandler, framework.model("m.xml", "M") + "|a|1|1"}, document),
              ActionResult::FAILED);

    EXPECT_EQ(written(), configurationOf({{"a", {"A", "M"}}}));
}

TEST_F(Apply, SetsComponentNameAndVersionsWithAHandler)
{
    for (const CommandQueueEntry& entry :
         std::vector<CommandQueueEntry>{{CmdID::ModelHandler, "h|2|3"},
                                        {CmdID::AddModelFileWithHandler, "/m|h|2|3"},
                                        {CmdID::RemoveModelFileWithHandler, "/m|h|2|3"}})
    {
        impl.componentName() = impl.moVersion() = impl.trVersion() = "before";

        impl.apply(entry, document);

        EXPECT_EQ((std::vector{impl.componentName(), impl.moVersion(), impl.trVersion()}),
                  (std::vector<std::string>{"h", "2", "3"}));
    }
}

TEST_F(Apply, KeepsComponentNameAndVersionsWithoutAHandler)
{
    for (const CommandQueueEntry& entry : std::vector<CommandQueueEntry>{{CmdID::AddModelFile, "/m|h|2|3"},
                                                                         {CmdID::RemoveModelFile, "/m|h|2|3"},
                                                                         {CmdID(7), "/m|h|2|3"},
                                                                         {CmdID::ModelHandler, "h"}})
    {
        impl.componentName() = impl.moVersion() = impl.trVersion() = "before";

        impl.apply(entry, document);

        EXPECT_EQ((std::vector{impl.componentName(), impl.moVersion(), impl.trVersion()}),
                  (std::vector<std::string>(3, "before")));
    }
}

} // namespace

} // namespace QMT::Test
