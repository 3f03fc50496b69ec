#include "ctl/CPlanCommand.h"

#include "support/CommandRun.h"
#include "support/FakeInstallation.h"
#include "support/Files.h"
#include "support/LockHolder.h"
#include "support/TemporaryFramework.h"
#include "support/ThrownBy.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace QMT::Test
{

namespace
{

using Lines = std::vector<std::string>;

/// Calls on a framework whose only handler is the placeholder and whose list is empty.
class PlanCommand : public testing::Test
{
protected:
    Answer plan(const OptionValues& options = {}) const
    {
        CPlanCommand command;
        return runCommand(command, options, framework.path());
    }

    static void expectNoActions(const Answer& answer, const std::string& result)
    {
        EXPECT_EQ(answer.status, Status::NO);
        EXPECT_EQ(valueOf(answer, "result"), result);
        EXPECT_EQ(resultsOf(answer), Lines());
        EXPECT_EQ(valueOf(answer, "validator"), "not-asked");
        EXPECT_EQ(diffOf(answer, "qor.cfg") + diffOf(answer, "model_file_list.cfg"), "");
        EXPECT_EQ(answer.text, result + "\n");
    }

    static std::string diffOf(const Answer& answer, const std::string& file)
    {
        return answer.keys.getObject("diff")->getValue<std::string>(file);
    }

    void expectUnchanged() const
    {
        framework.expectLive(TemporaryFramework::PLACEHOLDER_CONFIGURATION, "");
        EXPECT_FALSE(exists(framework.callerLock()));
    }

    const TemporaryFramework framework;
    const FakeInstallation installation;
    const std::string pump = framework.model("pump.xml", "Pump");
    const std::string listDiff = "--- model_file_list.cfg\n+++ model_file_list.cfg\n@@ -0,0 +1 @@\n+" + pump + "\n";
};

TEST_F(PlanCommand, ReportsNothingStagedWithoutActions)
{
    expectNoActions(plan(), "nothing-staged");
    framework.openSession("", "alpha");
    expectNoActions(plan(), "nothing-staged");
    std::filesystem::remove(framework.session());
    expectNoActions(plan(), "nothing-staged");
}

TEST_F(PlanCommand, ReportsWhatACommitWouldDo)
{
    installation.setValidator("echo fine");
    framework.openSession("0:" + pump + "\n", "alpha");

    const Answer answer = plan();

    EXPECT_EQ(answer.status, Status::YES);
    EXPECT_EQ(valueOf(answer, "result"), "would-succeed");
    EXPECT_EQ(resultsOf(answer), Lines{"done"});
    EXPECT_EQ(valueOf(answer, "validator"), "accepted");
    EXPECT_EQ(diffOf(answer, "model_file_list.cfg"), listDiff);
    EXPECT_EQ(diffOf(answer, "qor.cfg"), "");
    EXPECT_EQ(answer.text,
              "would-succeed\n  done     --addModelFile=" + pump + "\nvalidator: accepted\nfine\n" + listDiff);
    expectUnchanged();
}

TEST_F(PlanCommand, ReportsAFailedAction)
{
    framework.openSession("0:/none.xml\n0:" + pump + "\n", "alpha");

    const Answer answer = plan();

    EXPECT_EQ(answer.status, Status::NO);
    EXPECT_EQ(valueOf(answer, "result"), "would-fail");
    EXPECT_EQ(resultsOf(answer), (Lines{"failed", "done"}));
    EXPECT_EQ(valueOf(answer, "validator"), "absent");
    EXPECT_EQ(answer.error, "failed: --addModelFile=/none.xml");
}

TEST_F(PlanCommand, ReportsARejectedList)
{
    installation.setValidator("exit 1");
    framework.openSession("0:" + pump + "\n", "alpha");

    const Answer answer = plan();

    EXPECT_EQ(answer.status, Status::NO);
    EXPECT_EQ(valueOf(answer, "result"), "would-fail");
    EXPECT_EQ(resultsOf(answer), Lines{"done"});
    EXPECT_EQ(valueOf(answer, "validator"), "rejected");
}

TEST_F(PlanCommand, ReportsAnEditBeforeParsing)
{
    framework.openSession("0:" + pump + "\n", "alpha");
    writeFile(framework.configuration(), "<broken");
    expectNoActions(plan(), "changed-meanwhile");

    std::filesystem::copy_file(framework.configuration(".tmp"), framework.configuration(),
                               std::filesystem::copy_options::overwrite_existing);
    writeFile(framework.list(), "/edited\n");
    expectNoActions(plan(), "changed-meanwhile");
}

TEST_F(PlanCommand, ReportsALostWorkingCopyOfAnEmptyList)
{
    framework.openSession("0:" + pump + "\n", "alpha");
    std::filesystem::remove(framework.list(".tmp"));

    expectNoActions(plan(), "changed-meanwhile");
}

TEST_F(PlanCommand, PreviewsGivenActionsInsteadOfTheSession)
{
    installation.setValidator("exit 0");
    framework.openSession("0:/none.xml\n", "alpha");

    const Answer answer = plan({{"add", pump}, {"handler", "pumpHandler"}, {"add", pump}});

    EXPECT_EQ(answer.status, Status::YES);
    EXPECT_EQ(valueOf(answer, "result"), "would-succeed");
    EXPECT_EQ(resultsOf(answer), (Lines{"done", "skipped"}));
    EXPECT_EQ(valueOf(answer, "validator"), "accepted");
    EXPECT_EQ(diffOf(answer, "model_file_list.cfg"), listDiff);
    const std::string configurationDiff = diffOf(answer, "qor.cfg");
    EXPECT_EQ(configurationDiff.find("--- qor.cfg\n+++ qor.cfg\n"), 0U);
    EXPECT_NE(configurationDiff.find("+\t\t\t\t<root name=\"Pump\"/>\n"), std::string::npos);
    expectUnchanged();
}

TEST_F(PlanCommand, SkipsTheValidatorForActionsInEffect)
{
    installation.setValidator("exit 1");

    const Answer answer = plan({{"remove", pump}});

    EXPECT_EQ(answer.status, Status::YES);
    EXPECT_EQ(valueOf(answer, "result"), "would-succeed");
    EXPECT_EQ(resultsOf(answer), Lines{"skipped"});
    EXPECT_EQ(valueOf(answer, "validator"), "not-asked");
}

TEST_F(PlanCommand, EscapesTheDifferenceForATerminal)
{
    writeFile(framework.list(), "\x1B[1m\n");

    const Answer answer = plan({{"add", pump}});

    const std::string head = "--- model_file_list.cfg\n+++ model_file_list.cfg\n@@ -1 +1,2 @@\n ";
    EXPECT_EQ(answer.text, "would-succeed\n  done     --addModelFile=" + pump + "\nvalidator: absent\n" + head +
                               "\\x1b[1m\n+" + pump + "\n");
    EXPECT_EQ(diffOf(answer, "model_file_list.cfg"), head + "\x1B[1m\n+" + pump + "\n");
}

TEST_F(PlanCommand, ThrowsWithoutALiveFile)
{
    framework.openSession("0:" + pump + "\n", "alpha");
    std::filesystem::remove(framework.list());

    EXPECT_EQ(thrownBy([&] { plan({{"add", pump}}); }), "File not found: " + framework.list());
}

TEST_F(PlanCommand, ThrowsForAMalformedDocument)
{
    writeFile(framework.configuration(), "<broken");

    EXPECT_EQ(thrownBy([&] { plan({{"add", pump}}); }),
              "Bad data format: the document cannot be parsed: " + framework.configuration());
}

TEST_F(PlanCommand, IsBusyWhileAnotherCallerHoldsTheLock)
{
    const LockHolder holder(framework.callerLock());

    const Answer answer = plan();

    EXPECT_EQ(answer.status, Status::BUSY);
    EXPECT_EQ(answer.error, holder.message());
}

} // namespace

} // namespace QMT::Test
