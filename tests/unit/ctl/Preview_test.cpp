#include "ctl/Preview.h"

#include "ctl/CActionChecks.h"
#include "support/FakeInstallation.h"
#include "support/FileSizeLimit.h"
#include "support/TemporaryFramework.h"
#include "support/ThrownBy.h"
#include "support/XmlTest.h"

#include <Poco/String.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace QMT::Test
{

namespace
{

class Previews : public testing::Test
{
protected:
    Previews() : pump(framework.model("pump.xml", "Pump")), base(framework.model("base.xml", "Base"))
    {
        ::setenv("TMPDIR", scratch.path().c_str(), 1);
        pair = {configurationOf({{"baseHandler", {"Base"}}, {"auxHandler", {"Aux"}}}), base + "\n"};
    }

    ~Previews() override
    {
        ::unsetenv("TMPDIR");
    }

    Previews(const Previews&) = delete;
    Previews& operator=(const Previews&) = delete;
    Previews(Previews&&) = delete;
    Previews& operator=(Previews&&) = delete;

    static Action addition(const std::string& path, const std::string& handler = std::string())
    {
        const std::string version = handler.empty() ? "" : "1";
        return {handler.empty() ? CmdID::AddModelFile : CmdID::AddModelFileWithHandler, path, handler, version,
                version};
    }

    static Action removal(const std::string& path, const std::string& handler = std::string())
    {
        const std::string version = handler.empty() ? "" : "1";
        return {handler.empty() ? CmdID::RemoveModelFile : CmdID::RemoveModelFileWithHandler, path, handler, version,
                version};
    }

    Preview tried(const std::vector<Action>& actions, bool isJudged = false) const
    {
        return tryActions(pair, actions, "the document", isJudged, {scratch.path()});
    }

    /// Why the only action is refused.
    std::string refusalOf(const Action& action) const
    {
        const Preview preview = tried({action});
        EXPECT_EQ(preview.actions.at(0).outcome, Outcome::FAILED);
        return preview.actions.at(0).messages.back();
    }

    Outcome outcomeOf(const Action& action) const
    {
        return tried({action}).actions.at(0).outcome;
    }

    TemporaryFramework framework;
    TemporaryDirectory scratch;
    const std::string pump;
    const std::string base;
    FilePair pair;
};

// ---- Actions of the companion ----

TEST_F(Previews, TryActionsAppliesNewActions)
{
    const Preview preview = tried({addition(pump, "pumpHandler"), removal(base, "baseHandler")});

    EXPECT_EQ(preview.before, pair);
    EXPECT_EQ(preview.after,
              (FilePair{configurationOf({{"auxHandler", {"Aux"}}, {"pumpHandler", {"Pump"}}}), pump + "\n"}));
    EXPECT_EQ(preview.actions.at(0).outcome, Outcome::DONE);
    EXPECT_EQ(preview.actions.at(0).entry,
              (CommandQueueEntry{CmdID::AddModelFileWithHandler, pump + "|pumpHandler|1|1"}));
    EXPECT_EQ(preview.actions.at(0).messages,
              std::vector<std::string>{"Adding new handler: pumpHandler with root class: Pump"});
    EXPECT_EQ(preview.actions.at(1).outcome, Outcome::DONE);
    EXPECT_FALSE(preview.judgement);
    EXPECT_TRUE(std::filesystem::is_empty(scratch.path()));
}

TEST_F(Previews, TryActionsSkipsActionsInEffect)
{
    const std::string gone = framework.path() + "/gone.xml";
    for (const Action& action : {addition(base), addition(base, "baseHandler"), removal(pump),
                                 removal(pump, "auxHandler"), removal(gone), removal(gone, "nobody")})
    {
        const Preview preview = tried({action}, true);
        EXPECT_EQ(preview.actions.at(0).outcome, Outcome::SKIPPED) << action.text();
        EXPECT_TRUE(preview.actions.at(0).messages.empty());
        EXPECT_EQ(preview.after, pair);
        EXPECT_FALSE(preview.judgement);
    }
}

TEST_F(Previews, TryActionsAppliesActionsHalfInEffect)
{
    pair.list = "";
    EXPECT_EQ(tried({addition(base, "baseHandler")}).after.list, base + "\n");
    EXPECT_EQ(outcomeOf(removal(base, "baseHandler")), Outcome::DONE);

    pair = {configurationOf({{"auxHandler", {"Aux"}}}), base + "\n"};
    EXPECT_EQ(outcomeOf(addition(base, "new")), Outcome::DONE);
    EXPECT_EQ(outcomeOf(removal(base, "auxHandler")), Outcome::DONE);
}

TEST_F(Previews, TryActionsTrimsTheLinesOfTheList)
{
    pair.list = "  " + base + "\t\r\n";

    EXPECT_EQ(outcomeOf(addition(base)), Outcome::SKIPPED);
}

TEST_F(Previews, TryActionsSeesTheEffectOfEarlierActions)
{
    const Preview preview = tried({addition(pump), addition(pump), removal(pump), removal(pump), addition(pump, "h")});

    std::vector<Outcome> outcomes;
    for (const TriedAction& action : preview.actions)
    {
        outcomes.push_back(action.outcome);
    }
    EXPECT_EQ(outcomes,
              (std::vector<Outcome>{Outcome::DONE, Outcome::SKIPPED, Outcome::DONE, Outcome::SKIPPED, Outcome::DONE}));
}

TEST_F(Previews, TryActionsReportsTheOthersAfterARefusal)
{
    const Preview preview = tried({addition("/missing"), addition(pump), addition(base)}, true);

    EXPECT_EQ(preview.actions.at(0).messages, std::vector<std::string>{"the model file does not exist"});
    EXPECT_EQ(preview.actions.at(0).outcome, Outcome::FAILED);
    EXPECT_EQ(preview.actions.at(1).outcome, Outcome::DONE);
    EXPECT_EQ(preview.actions.at(2).outcome, Outcome::SKIPPED);
    EXPECT_TRUE(preview.has(Outcome::FAILED));
    EXPECT_FALSE(preview.judgement);
}

TEST_F(Previews, TryActionsRefusesMissingModelFiles)
{
    pair.list = base + "\n/gone\n";

    EXPECT_EQ(refusalOf(addition("/missing", "h")), "the model file does not exist");
    EXPECT_EQ(refusalOf(removal("/gone")), "the model file does not exist");
    EXPECT_EQ(refusalOf(removal("/missing", "baseHandler")), "the model file does not exist");
}

TEST_F(Previews, TryActionsRefusesAPathInAnotherLine)
{
    const std::string longer = pump + ".old";
    pair.list = longer + "\n" + base + "\n";
    const std::string part = "the path is part of another line of the list: ";

    EXPECT_EQ(refusalOf(addition(pump)), part + longer);
    pair.list = longer + "\n" + pump + "\n";
    EXPECT_EQ(refusalOf(removal(pump)), part + longer);
    EXPECT_EQ(outcomeOf(addition(pump)), Outcome::SKIPPED);
}

TEST_F(Previews, TryActionsRefusesToAddADirectory)
{
    pair.list = "";

    EXPECT_EQ(refusalOf(addition(framework.path())), "the path is a directory");
}

TEST_F(Previews, TryActionsRefusesAHandlerWithoutARootClass)
{
    const std::string rootless = framework.file("rootless.xml", "<m/>");
    const std::string broken = framework.file("broken.xml", "<m>");

    EXPECT_EQ(refusalOf(addition(rootless, "h")), "the model file has no root class, or cannot be read");
    EXPECT_EQ(refusalOf(addition(broken, "h")), "the model file has no root class, or cannot be read");
    EXPECT_EQ(refusalOf(removal(rootless, "auxHandler")), "the model file has no root class, or cannot be read");
    EXPECT_EQ(outcomeOf(addition(rootless)), Outcome::DONE);
}

TEST_F(Previews, TryActionsRefusesAModelOfAnotherHandler)
{
    const std::string aux = framework.model("aux.xml", "Aux");

    EXPECT_EQ(refusalOf(addition(aux, "h")), "the root class Aux is served by another handler: auxHandler");
    EXPECT_EQ(refusalOf(removal(base, "auxHandler")), "the root class Base is served by another handler: baseHandler");
}

TEST_F(Previews, TryActionsRemovesFromOneOfTwoHandlers)
{
    pair.configuration = configurationOf({{"baseHandler", {"Base"}}, {"auxHandler", {"Base"}}});

    EXPECT_EQ(outcomeOf(removal(base, "auxHandler")), Outcome::DONE);
    EXPECT_EQ(outcomeOf(addition(base, "auxHandler")), Outcome::SKIPPED);
    pair.list = "";
    EXPECT_EQ(refusalOf(addition(base, "auxHandler")), "the root class Base is served by another handler: baseHandler");
}

TEST_F(Previews, TryActionsRefusesAnUnknownHandler)
{
    pair.list = pump + "\n";

    EXPECT_EQ(refusalOf(removal(pump, "auxHandlr")), "there is no handler of this name");
    EXPECT_EQ(outcomeOf(removal(pump, "auxHandler")), Outcome::DONE);
}

TEST_F(Previews, TryActionsExpectsANewHandlerForThePlaceholder)
{
    pair.configuration = configurationOf({{"VELDA_OAM_COMPONENT", {"P"}}, {"auxHandler", {"Aux"}}});

    EXPECT_EQ(refusalOf(addition(pump, "auxHandler")),
              "the handler exists, and a new one is expected that takes the place of the placeholder");
    EXPECT_EQ(outcomeOf(addition(pump, "pumpHandler")), Outcome::DONE);
    EXPECT_EQ(outcomeOf(removal(base, "auxHandler")), Outcome::DONE);
}

TEST_F(Previews, TryActionsRefusesToRemoveTheLastHandler)
{
    pair.configuration = configurationOf({{"baseHandler", {"Base"}}});

    EXPECT_EQ(refusalOf(removal(base, "baseHandler")),
              "the model or its handler cannot be removed, the last handler stays");
}

TEST_F(Previews, TryActionsRefusesAdditionsTheFilesCannotTake)
{
    const std::string refusal = "the model or its handler cannot be added to these files";
    pair.list = base;
    EXPECT_EQ(refusalOf(addition(pump)), refusal);

    pair = {"<qor><participants/></qor>", base + "\n"};
    EXPECT_EQ(refusalOf(addition(pump, "h")), refusal);
}

TEST_F(Previews, TryActionsRefusesTextsTheFilesCannotHold)
{
    EXPECT_EQ(refusalOf(addition("/a\xff")), "the path is not valid UTF-8");
    EXPECT_EQ(refusalOf(addition("/a\n")), "the path holds a control character");
    EXPECT_EQ(refusalOf(addition("/a\xc2\x85")), "the path holds a control character");
    EXPECT_EQ(refusalOf(addition("/a:b")), "the path holds \":\" or \"|\"");
    EXPECT_EQ(refusalOf(addition("/a|b")), "the path holds \":\" or \"|\"");
    EXPECT_EQ(refusalOf(addition("/a~b")), "the model file does not exist");
    EXPECT_EQ(refusalOf(removal("/a ")), "the path begins or ends with white space");
    EXPECT_EQ(refusalOf(removal(" a")), "the path begins or ends with white space");
    EXPECT_EQ(refusalOf(addition(pump, "h|")), "the handler's name holds \":\" or \"|\"");
    Action versioned = addition(pump, "h");
    versioned.moVersion = "1 ";
    EXPECT_EQ(refusalOf(versioned), "a version begins or ends with white space");
    versioned = addition(pump, "h");
    versioned.trVersion = "1:";
    EXPECT_EQ(refusalOf(versioned), "a version holds \":\" or \"|\"");
}

TEST_F(Previews, TryActionsMakesPathsAbsolute)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(framework.path() + "/models");
    const std::string directory = std::filesystem::current_path().string();
    std::filesystem::create_directory("sub");
    std::filesystem::create_directory_symlink("/", "link");

    EXPECT_EQ(absolutePath("pump.xml"), directory + "/pump.xml");
    EXPECT_EQ(absolutePath("./pump.xml"), directory + "/pump.xml");
    EXPECT_EQ(absolutePath("sub/../pump.xml"), directory + "/pump.xml");
    EXPECT_EQ(absolutePath("link/../pump.xml"), directory + "/link/../pump.xml");
    EXPECT_EQ(absolutePath("/a/../b"), "/a/../b");
    EXPECT_EQ(tried({addition("pump.xml")}).after.list, base + "\n" + directory + "/pump.xml\n");

    std::filesystem::current_path(before);
}

TEST_F(Previews, TryActionsRunsTheValidatorWhenAsked)
{
    const FakeInstallation installation;
    installation.setValidator("cat \"$3\"; exit 1");

    const Preview preview = tried({addition(pump)}, true);

    ASSERT_TRUE(preview.judgement);
    EXPECT_TRUE(preview.isRejected());
    EXPECT_EQ(preview.judgement->report, base + "\n" + pump + "\n");
    EXPECT_FALSE(tried({addition(pump)}).judgement);
    EXPECT_FALSE(tried({addition(pump)}).isRejected());
}

TEST_F(Previews, TryThrowsForAMalformedDocument)
{
    const std::string error = "Bad data format: the document cannot be parsed: the document";
    pair.configuration = "<qor>";

    EXPECT_EQ(thrownBy([this] { tried({addition(pump)}); }), error);
    EXPECT_EQ(thrownBy([this] { tryQueue(pair, "0:" + pump + "\n", "the document"); }), error);
}

TEST_F(Previews, TryActionsThrowsWhenTheCopiesCannotBeWritten)
{
    // The last bytes of what the actions add are those that do not fit.
    const auto failureOf = [this](const Action& action, std::size_t limit)
    {
        const FileSizeLimit full(limit);
        return thrownBy([&] { tried({action}); });
    };
    const std::string error = "File access error: the copies of the files cannot be edited: ";
    pair.list = std::string(2000, 'x') + "\n";
    EXPECT_EQ(failureOf(addition(pump), pair.list->size() + pump.size()), error + "Unable to write the new model!");
    EXPECT_EQ(failureOf(addition(pump, "h"), pair.list->size() + pump.size()),
              error + "Unable to write the new model!");
    pair.list = base + "\n";
    EXPECT_EQ(failureOf(addition(pump, "h"), pair.configuration->size() + 10),
              error + "Unable to wite updated XML file!");
}

TEST_F(Previews, TryActionsUsesTheNextPlaceForItsCopies)
{
    EXPECT_EQ(tryActions(pair, {addition(pump)}, "the document", false, {"/missing", scratch.path()}).after.list,
              base + "\n" + pump + "\n");
    EXPECT_EQ(thrownBy([&] { tryActions(pair, {addition(pump)}, "the document", false, {"/missing"}); }),
              "Cannot create file: No such file or directory: /missing");
}

// ---- The queue of the tool ----

TEST_F(Previews, TryQueueReportsEachAction)
{
    const FakeInstallation installation;
    installation.setValidator("exit 0");

    const Preview preview =
        tryQueue(pair, "0:" + base + "\n2:/gone\n0:/missing\n7:odd\n3:" + pump + "|h|1|1\n4:text\n", "the document");

    std::vector<Outcome> outcomes;
    for (const TriedAction& action : preview.actions)
    {
        outcomes.push_back(action.outcome);
    }
    EXPECT_EQ(outcomes, (std::vector<Outcome>{Outcome::SKIPPED, Outcome::SKIPPED, Outcome::FAILED, Outcome::SKIPPED,
                                              Outcome::DONE, Outcome::FAILED}));
    EXPECT_EQ(preview.actions.at(1).messages, std::vector<std::string>{"Unable to find model file, skipping removal."});
    EXPECT_EQ(preview.actions.at(1).line, "--removeModelFile=/gone");
    EXPECT_EQ(preview.after.list, base + "\n" + pump + "\n");
    ASSERT_TRUE(preview.judgement);
    EXPECT_EQ(preview.judgement->verdict, Judgement::Verdict::ACCEPTED);
}

TEST_F(Previews, TryQueueSkipsTheValidatorForRemovals)
{
    const FakeInstallation installation;
    installation.setValidator("exit 1");

    EXPECT_FALSE(tryQueue(pair, "2:" + base + "\n", "the document").judgement);
    EXPECT_TRUE(tryQueue(pair, "0:" + base + "\n", "the document").isRejected());
}

TEST_F(Previews, TryQueueSkipsAnActionThatChangesLayoutAlone)
{
    pair.configuration = Poco::translate(configurationOf({{"baseHandler", {"Base"}}}), "\t", "");

    const Preview preview = tryQueue(pair, "4:" + pump + "|baseHandler|1|1\n", "the document");

    EXPECT_EQ(preview.actions.at(0).outcome, Outcome::SKIPPED);
    EXPECT_NE(preview.after, pair);
}

TEST_F(Previews, TryQueueStopsWhereACommitEnds)
{
    const FakeInstallation installation;
    installation.setValidator("exit 1");
    pair.configuration = configurationOf({{"VELDA_OAM_COMPONENT", {"P"}}});

    const Preview preview = tryQueue(pair, "0:" + pump + "\n3:|h|1|1\n0:" + base + ".\n", "the document");

    EXPECT_EQ(preview.actions.at(0).outcome, Outcome::DONE);
    EXPECT_EQ(preview.actions.at(1).outcome, Outcome::FAILED);
    EXPECT_EQ(preview.actions.at(1).messages.front(), "Replaced default QOR component tag with: h");
    EXPECT_EQ(preview.actions.at(2).outcome, Outcome::FAILED);
    EXPECT_TRUE(preview.actions.at(2).messages.empty());
    EXPECT_FALSE(preview.judgement);
}

TEST_F(Previews, TryQueueReturnsNoActionsWithoutAQueue)
{
    EXPECT_TRUE(tryQueue(pair, "garbage", "the document").actions.empty());
    EXPECT_FALSE(tryQueue(pair, "", "the document").has(Outcome::FAILED));
}

} // namespace

} // namespace QMT::Test
