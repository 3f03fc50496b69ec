#include "app/CQorModelTool.h"
#include "support/FailingCall.h"
#include "support/FakeInstallation.h"
#include "support/ImplTest.h"
#include "support/ToolTest.h"
#include "support/XmlTest.h"

#include <Poco/Message.h>

#include <syslog.h>

#include <cerrno>

namespace QMT::Test
{

namespace
{

using Poco::Message;

const Messages NO_VALIDATOR_SYSTEM_LOG = {{LOG_WARNING, "Unable to locate Model tool"},
                                          {LOG_INFO, "model tool does not exist"}};

class CommitFlow : public ToolTest
{
protected:
    CommitFlow() : before(configurationOf({{"a", {"A"}}}))
    {
        writeFile(framework.configuration(), before);
        writeFile(framework.list(), "/m/old.xml\n");
    }

    void expectNoSession() const
    {
        EXPECT_FALSE(exists(framework.lock()));
        EXPECT_FALSE(exists(framework.session()));
        EXPECT_FALSE(exists(framework.configuration(".tmp")));
        EXPECT_FALSE(exists(framework.list(".tmp")));
    }

    const std::string before;
};

// ---- Rollback ----

TEST_F(CommitFlow, RollbackDropsThePendingSession)
{
    givenSession("0:/m/a.xml\n");
    writeFile(framework.configuration(".bak"), "old configuration");
    writeFile(framework.list(".bak"), "old list");

    const ToolRun run = runTool({"--rollback"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({"Rolling back."}));
    EXPECT_EQ(run.systemLog, Messages());
    expectNoSession();
    framework.expectLive(before, "/m/old.xml\n");
    framework.expectBackups("old configuration", "old list");
}

TEST_F(CommitFlow, RollbackUndoesTheLastCommitWithoutASession)
{
    writeFile(framework.configuration(".bak"), "old configuration");
    writeFile(framework.list(".bak"), "old list");
    writeFile(framework.session(), "left behind");

    const ToolRun run = runTool({"--rollback"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({"Rolling back.", COMPLETED}));
    EXPECT_EQ(run.systemLog, (Messages{{LOG_INFO, "lock file not present, Rolling back."}}));
    framework.expectLive("old configuration", "old list");
    EXPECT_TRUE(exists(framework.session()));
}

TEST_F(CommitFlow, RollbackSkipsTheSystemLogWhenItThrows)
{
    writeFile(framework.list(".bak"), "old list");
    // The start-up checks the lock three times before the driver does.
    const FailingCall failing("stat", framework.lock(), EIO, 3);

    const ToolRun run = runTool({"--rollback"});

    EXPECT_EQ(run.status, 70);
    EXPECT_EQ(run.log, info({"Rolling back."}));
    EXPECT_EQ(run.systemLog, SILENCE);
}

// ---- What keeps a commit from starting ----

TEST_F(CommitFlow, CommitIsRejectedTogetherWithARollback)
{
    givenSession("0:/m/a.xml\n");

    const ToolRun run = runTool({"--commit", "--rollback"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({"Invalid command!\nSeparate calls to commit and rollback."}));
    EXPECT_EQ(run.systemLog, Messages());
    EXPECT_EQ(readFile(framework.session()), "0:/m/a.xml\n");
    EXPECT_TRUE(exists(framework.lock()));
}

TEST_F(CommitFlow, CommitDoesNothingWithoutASession)
{
    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({"There is nothing to commit!"}));
    EXPECT_EQ(run.systemLog, (Messages{{LOG_INFO, "lock file not present, There is nothing to commit."}}));
    EXPECT_FALSE(exists(framework.configuration(".bak")));
}

TEST_F(CommitFlow, CommitDropsTheSessionOfAChangedConfiguration)
{
    givenSession("0:/m/a.xml\n");
    writeFile(framework.configuration(), "changed");
    writeFile(framework.list(".bak"), "old list");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({"Unable to commit!\nRolling back..."}));
    EXPECT_EQ(run.systemLog,
              (Messages{{LOG_INFO, "check of qor.cfg or Model files failed, Unable to commit rolling back"}}));
    expectNoSession();
    framework.expectLive("changed", "/m/old.xml\n");
    EXPECT_EQ(readFile(framework.list(".bak")), "old list");
    EXPECT_FALSE(exists(framework.configuration(".bak")));
}

TEST_F(CommitFlow, CommitDropsTheSessionOfAChangedList)
{
    givenSession("0:/m/a.xml\n");
    writeFile(framework.list(), "changed");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({"Unable to commit!\nRolling back..."}));
    expectNoSession();
    framework.expectLive(before, "changed");
}

TEST_F(CommitFlow, CommitReadsNoListWhenTheConfigurationChanged)
{
    givenSession("0:/m/a.xml\n");
    writeFile(framework.configuration(), "changed");
    putDirectoryAt(framework.list(".tmp"));

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.log, info({"Unable to commit!\nRolling back..."}));
    EXPECT_EQ(run.systemLog,
              (Messages{{LOG_INFO, "check of qor.cfg or Model files failed, Unable to commit rolling back"}}));
}

TEST_F(CommitFlow, CommitKeepsTheSessionOfAMalformedWorkingCopy)
{
    writeFile(framework.configuration(), "no document");
    givenSession("0:/m/a.xml\n");

    const ToolRun run = runTool({"--commit"});

    const std::string path = framework.configuration(".tmp");
    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log, (Messages{{Message::PRIO_CRITICAL, "Unable to parse XML file: " + path}, FAILED}));
    EXPECT_EQ(run.systemLog, Messages());
    EXPECT_EQ(readFile(framework.session()), "0:/m/a.xml\n");
    EXPECT_TRUE(exists(framework.lock()));
    EXPECT_EQ(readFile(path), "no document");
    framework.expectBackups("no document", "/m/old.xml\n");
}

TEST_F(CommitFlow, CommitFailsForAnEmptyDocumentAndQueue)
{
    writeFile(framework.configuration(), "");
    givenSession("");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log,
              (Messages{{Message::PRIO_CRITICAL, "Invalid command queue, aborting!"},
                        {Message::PRIO_CRITICAL, "Unable to parse XML file: " + framework.configuration(".tmp")},
                        FAILED}));
}

// ---- Commit ----

TEST_F(CommitFlow, CommitAppliesEveryKindOfActionOldestFirst)
{
    const std::string added = framework.model("added.xml", "Added");
    const std::string handled = framework.model("handled.xml", "Handled");
    const std::string removed = framework.model("removed.xml", "Removed");
    const std::string unhandled = framework.model("unhandled.xml", "Unhandled");
    writeFile(framework.configuration(), configurationOf({{"VELDA_OAM_COMPONENT", {"Unhandled"}}}));
    writeFile(framework.list(), removed + "\n" + unhandled + "\n");
    givenSession("1:first|2|3\n"
                 "0:" +
                 added +
                 "\n"
                 "3:" +
                 handled +
                 "|second|4|5\n"
                 "2:" +
                 removed +
                 "\n"
                 "4:" +
                 unhandled +
                 "|first|1|1\n"
                 "9:whatever\n");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{{6, "Replaced default QOR component tag with: first"},
                                 {6, "Adding new handler: second with root class: Handled"},
                                 {6, "Found and removed model entry: " + removed},
                                 {6, "Found handler: first"},
                                 {6, "Removed root entry Unhandled from first"},
                                 {6, "Removed handler: first"},
                                 {6, "Found and removed model entry: " + unhandled},
                                 {4, "Unable to locate model tool."},
                                 {6, COMPLETED}}));
    EXPECT_EQ(run.systemLog, NO_VALIDATOR_SYSTEM_LOG);
    framework.expectLive(configurationOf({{"second", {"Handled"}, "4", "5"}}), added + "\n" + handled + "\n");
    framework.expectBackups(configurationOf({{"VELDA_OAM_COMPONENT", {"Unhandled"}}}),
                            removed + "\n" + unhandled + "\n");
    expectNoSession();
}

TEST_F(CommitFlow, CommitReplacesOlderBackups)
{
    writeFile(framework.configuration(".bak"), "older configuration");
    writeFile(framework.list(".bak"), "older list");
    givenSession("2:/nonexistent/m.xml\n");

    EXPECT_EQ(runTool({"--commit"}).status, 0);

    framework.expectBackups(before, "/m/old.xml\n");
}

TEST_F(CommitFlow, CommitKeepsTheSessionOfAnEmptyQueue)
{
    givenSession("");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{{Message::PRIO_CRITICAL, "Invalid command queue, aborting!"},
                                 {Message::PRIO_INFORMATION, COMPLETED}}));
    EXPECT_EQ(run.systemLog, Messages());
    EXPECT_TRUE(exists(framework.lock()));
    EXPECT_TRUE(exists(framework.session()));
    EXPECT_TRUE(exists(framework.configuration(".tmp")));
    framework.expectBackups(before, "/m/old.xml\n");
}

TEST_F(CommitFlow, CommitAppliesAnotherHostsSession)
{
    const std::string model = framework.model("m.xml", "M");
    givenSession("3:" + model + "|a|1|1\n", "other-host");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{{6, "Found handler: a"}, {4, "Unable to locate model tool."}, {6, COMPLETED}}));
    framework.expectLive(configurationOf({{"a", {"A", "M"}}}), "/m/old.xml\n" + model + "\n");
    expectNoSession();
}

TEST_F(CommitFlow, CommitAppliesTheOtherActionsWhenOneFails)
{
    const std::string model = framework.model("m.xml", "M");
    givenSession("0:/nonexistent/m.xml\n3:" + model + "|a|1|1\n");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log, (Messages{{6, "Cannot find the model file: /nonexistent/m.xml"},
                                 {6, "Found handler: a"},
                                 {4, "Unable to locate model tool."},
                                 FAILED}));
    framework.expectLive(configurationOf({{"a", {"A", "M"}}}), "/m/old.xml\n" + model + "\n");
    expectNoSession();
}

TEST_F(CommitFlow, CommitStaysFailedWhenALaterActionSucceeds)
{
    givenSession("0:/nonexistent/m.xml\n2:/nonexistent/n.xml\n");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log, (Messages{{6, "Cannot find the model file: /nonexistent/m.xml"},
                                 {6, "Unable to find model file, skipping removal."},
                                 FAILED}));
    expectNoSession();
}

TEST_F(CommitFlow, CommitFailsWithoutAnEditor)
{
    CapturedLog log;
    CapturedSystemLog systemLog;
    CQorModelToolImpl impl(log.logger());
    CQorModelTool tool(&impl, log.logger());
    givenSession("0:/m/a.xml\n");
    log.clear();
    tool.handleCommit("commit", "");

    EXPECT_EQ(tool.main({}), -1);

    EXPECT_EQ(
        log.messages(),
        (Messages{{Message::PRIO_CRITICAL, "Unable to parse XML file: " + framework.configuration(".tmp")}, FAILED}));
    EXPECT_TRUE(exists(framework.lock()));
}

// ---- Validation ----

class ValidatedCommit : public CommitFlow
{
protected:
    ValidatedCommit() : model(framework.model("m.xml", "M"))
    {
    }

    void givenValidator(const std::string& script) const
    {
        installation.setValidator("echo called >> " + installation.path("calls") + "\n" + script);
    }

    bool wasCalled() const
    {
        return exists(installation.path("calls"));
    }

    FakeInstallation installation;
    const std::string model;
};

TEST_F(ValidatedCommit, IsCompletedWhenTheValidatorAccepts)
{
    givenValidator("cat $3 > " + installation.path("list") + "; exit 0");
    givenSession("0:" + model + "\n");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({COMPLETED}));
    EXPECT_EQ(run.systemLog, Messages());
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(readFile(installation.path("list")), "/m/old.xml\n" + model + "\n");
    framework.expectLive(before, "/m/old.xml\n" + model + "\n");
}

TEST_F(ValidatedCommit, IsUndoneWhenTheValidatorRejects)
{
    givenValidator("echo no good; exit 1");
    givenSession("3:" + model + "|a|1|1\n");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, -1);
    EXPECT_EQ(run.log, (Messages{{6, "Found handler: a"}, FAILED}));
    EXPECT_EQ(run.output, "no good\n\n\n");
    framework.expectLive(before, "/m/old.xml\n");
    EXPECT_FALSE(exists(framework.configuration(".bak")));
    EXPECT_FALSE(exists(framework.list(".bak")));
    expectNoSession();
}

TEST_F(ValidatedCommit, IsUndoneWhenASessionBeganMeanwhile)
{
    givenValidator("echo other-host >" + framework.lock() + "; exit 1");
    givenSession("3:" + model + "|a|1|1\n");

    EXPECT_EQ(runTool({"--commit"}).status, -1);

    framework.expectLive(before, "/m/old.xml\n");
    EXPECT_FALSE(exists(framework.configuration(".bak")));
    EXPECT_FALSE(exists(framework.list(".bak")));
    expectNoSession();
}

TEST_F(ValidatedCommit, IsUndoneWhicheverStatOfTheListFails)
{
    givenValidator("exit 1");
    bool hasFailed = true;
    for (int spared = 0; hasFailed; ++spared)
    {
        SCOPED_TRACE(spared);
        writeFile(framework.list(), "/m/old.xml\n");
        givenSession("0:" + model + "\n");
        int status = 0;
        {
            const FailingCall failing("stat", framework.list(), EIO, spared, 1);
            status = runTool({"--commit"}).status;
            hasFailed = failing.failures() > 0;
        }

        EXPECT_TRUE(status == -1 || status == 70) << status;
        // An exception ends the run at once; recover then puts the backups back.
        EXPECT_EQ(readFile(framework.list(status == 70 && exists(framework.list(".bak")) ? ".bak" : "")),
                  "/m/old.xml\n");
    }
}

TEST_F(ValidatedCommit, TriesTenTimesToUndoDuringASession)
{
    givenValidator("echo other-host >" + framework.lock() + "; exit 1");
    givenSession("0:" + model + "\n");
    const FailingCall failing("unlink", framework.lock(), EACCES, 1);

    EXPECT_EQ(runTool({"--commit"}).status, -1);

    EXPECT_EQ(failing.failures(), 10);
}

TEST_F(ValidatedCommit, IsNotUndoneWhenTheLockStays)
{
    givenValidator("mkdir -p " + framework.lock() + "/taken; exit 1");
    givenSession("0:" + model + "\n");

    EXPECT_EQ(runTool({"--commit"}).status, -1);

    EXPECT_EQ(readFile(framework.list()), "/m/old.xml\n" + model + "\n");
    EXPECT_EQ(readFile(framework.list(".bak")), "/m/old.xml\n");
}

TEST_F(ValidatedCommit, CleansUpAfterARejectionThatCouldNotBeUndone)
{
    givenValidator("rm " + framework.list() + "; touch " + framework.configuration(".tmp") + "; exit 1");
    givenSession("0:" + model + "\n");

    EXPECT_EQ(runTool({"--commit"}).status, -1);

    EXPECT_FALSE(exists(framework.list()));
    expectNoSession();
}

TEST_F(ValidatedCommit, RunsTheValidatorForAListedAddition)
{
    givenValidator("exit 1");
    writeFile(framework.list(), model + "\n");
    givenSession("0:" + model + "\n");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, -1);
    EXPECT_TRUE(wasCalled());
}

TEST_F(ValidatedCommit, SkipsTheValidatorWhenNothingWasAdded)
{
    givenValidator("exit 1");
    writeFile(framework.configuration(), configurationOf({{"VELDA_OAM_COMPONENT", {"M", "N"}}}));
    writeFile(framework.list(), model + "\n");
    givenSession("1:h|1|1\n2:" + model + "\n4:" + model + "|h|1|1\n");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_FALSE(wasCalled());
    framework.expectLive(configurationOf({{"h", {"N"}}}), "");
}

TEST_F(ValidatedCommit, SkipsTheValidatorWhenEveryAdditionFailed)
{
    givenValidator("exit 1");
    givenSession("0:/nonexistent/m.xml\n3:/nonexistent/n.xml|a|1|1\n");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, -1);
    EXPECT_FALSE(wasCalled());
}

TEST_F(ValidatedCommit, RunsTheValidatorWhenOneAdditionSucceeded)
{
    givenValidator("exit 0");
    givenSession("0:" + model + "\n0:/nonexistent/m.xml\n");

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, -1);
    EXPECT_TRUE(wasCalled());
    EXPECT_EQ(run.log.back(), FAILED);
    framework.expectLive(before, "/m/old.xml\n" + model + "\n");
}

} // namespace

} // namespace QMT::Test
