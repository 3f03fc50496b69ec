#include "support/FakeSleep.h"
#include "support/ToolTest.h"

#include <syslog.h>

#include <filesystem>

namespace QMT::Test
{

namespace
{

const std::string REFUSAL = "WARNING: Session already in progress and locked by: other-host\nPending action canceled.";

class StagingFlow : public ToolTest
{
protected:
    void expectStaged(const std::vector<std::string>& arguments, const std::string& entry,
                      const std::string& line) const
    {
        const ToolRun run = runTool(arguments);

        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.log, info({NEW_SESSION, UPDATED, line, COMPLETED}));
        EXPECT_EQ(run.systemLog, (Messages{{LOG_DEBUG, line}}));
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(readFile(framework.session()), entry + "\n");
        EXPECT_EQ(readFile(framework.lock()), "this-host");
    }
};

// ---- The kinds of action ----

TEST_F(StagingFlow, StagesAnAddition)
{
    // Without a handler the versions mean nothing.
    expectStaged({"--addModelFile=/m/a.xml", "-t", "9"}, "0:/m/a.xml", "--addModelFile=/m/a.xml");
}

TEST_F(StagingFlow, StagesAHandlerWithALeadingBlankInItsLine)
{
    expectStaged({"--modelHandler=h"}, "1:h|1|1",
                 " --modelHandler=h --managedObjectVersion=1 --transactionalResourceVersion=1");
}

TEST_F(StagingFlow, StagesAHandlerWithEmptyVersions)
{
    const ToolRun run = runTool({"--modelHandler=h", "--managedObjectVersion=", "--transactionalResourceVersion="});

    EXPECT_EQ(run.log, info({"handleManagedObjectVersion: ", NEW_SESSION, UPDATED,
                             " --modelHandler=h --managedObjectVersion= --transactionalResourceVersion=", COMPLETED}));
    EXPECT_EQ(readFile(framework.session()), "1:h||\n");
}

TEST_F(StagingFlow, StagesARemoval)
{
    expectStaged({"--removeModelFile=/m/a.xml", "-t", "9"}, "2:/m/a.xml", "--removeModelFile=/m/a.xml");
}

TEST_F(StagingFlow, StagesAnAdditionWithItsHandlerInEitherOrder)
{
    const std::string line =
        "--addModelFile=/m/a.xml --modelHandler=h --managedObjectVersion=1 --transactionalResourceVersion=3";

    expectStaged({"-a", "/m/a.xml", "-m", "h", "-t", "3"}, "3:/m/a.xml|h|1|3", line);
    EXPECT_EQ(runTool({"--rollback"}).log, info({"Rolling back."}));
    expectStaged({"-t", "3", "-m", "h", "-a", "/m/a.xml"}, "3:/m/a.xml|h|1|3", line);
}

TEST_F(StagingFlow, StagesARemovalWithVersionsItDoesNotShow)
{
    const ToolRun run = runTool({"-x", "/m/a.xml", "-m", "h", "-o", "2", "-t", "3"});

    EXPECT_EQ(run.log, info({"handleManagedObjectVersion: 2", NEW_SESSION, UPDATED,
                             "--removeModelFile=/m/a.xml --modelHandler=h", COMPLETED}));
    EXPECT_EQ(readFile(framework.session()), "4:/m/a.xml|h|2|3\n");
}

TEST_F(StagingFlow, ShowsFormatCharactersUnchanged)
{
    expectStaged({"-a", "/m/%s%n.xml"}, "0:/m/%s%n.xml", "--addModelFile=/m/%s%n.xml");
}

// ---- A new session ----

TEST_F(StagingFlow, MakesWorkingCopiesForANewSession)
{
    writeFile(framework.list(), "/m/old.xml\n");

    runTool({"-a", "/m/a.xml"});

    EXPECT_EQ(readFile(framework.configuration(".tmp")), TemporaryFramework::PLACEHOLDER_CONFIGURATION);
    EXPECT_EQ(readFile(framework.list(".tmp")), "/m/old.xml\n");
    EXPECT_EQ(readFile(framework.configuration()), TemporaryFramework::PLACEHOLDER_CONFIGURATION);
    EXPECT_EQ(readFile(framework.list()), "/m/old.xml\n");
}

TEST_F(StagingFlow, EndsWithStatus70WhenALiveFileIsMissing)
{
    std::filesystem::remove(framework.list());

    const ToolRun run = runTool({"-a", "/m/a.xml"});

    EXPECT_EQ(run.status, 70);
    EXPECT_EQ(run.log, info({NEW_SESSION}));
    EXPECT_FALSE(exists(framework.lock()));
    EXPECT_FALSE(exists(framework.session()));
}

TEST_F(StagingFlow, SucceedsWhenTheQueueCannotBeSaved)
{
    putFullDeviceAt(framework.session());

    const ToolRun run = runTool({"-a", "/m/a.xml"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{{6, NEW_SESSION},
                                 {6, UPDATED},
                                 {6, "--addModelFile=/m/a.xml"},
                                 {2, "Unable to write to FIFO file!"},
                                 {6, COMPLETED}}));
}

// ---- An open session of this host ----

TEST_F(StagingFlow, JoinsTheOpenSessionOfThisHost)
{
    givenSession("2:/m/old.xml\n");
    writeFile(framework.configuration(), "changed since");

    const ToolRun run = runTool({"-a", "/m/a.xml"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({UPDATED, "--addModelFile=/m/a.xml", COMPLETED}));
    EXPECT_EQ(run.systemLog, (Messages{{LOG_DEBUG, "--addModelFile=/m/a.xml"}}));
    EXPECT_EQ(readFile(framework.session()), "2:/m/old.xml\n0:/m/a.xml\n");
    EXPECT_EQ(readFile(framework.configuration(".tmp")), TemporaryFramework::PLACEHOLDER_CONFIGURATION);
}

// ---- The lock wait ----

class LockWait : public StagingFlow
{
protected:
    LockWait()
    {
        givenSession("0:/m/theirs.xml\n", "other-host");
    }

    /// Lets the other host end its session during the `number`-th sleep.
    void releaseDuring(int number)
    {
        sleep.during(number, [this] { endSession(); });
    }

    void endSession() const
    {
        for (const std::string& path :
             {framework.lock(), framework.session(), framework.configuration(".tmp"), framework.list(".tmp")})
        {
            std::filesystem::remove(path);
        }
    }

    FakeSleep sleep;
};

TEST_F(LockWait, GivesUpAfter31AttemptsASecondApart)
{
    const ToolRun run = runTool({"-a", "/m/a.xml"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({REFUSAL}));
    EXPECT_EQ(run.systemLog, (Messages{{LOG_DEBUG, "--addModelFile=/m/a.xml"}, {LOG_INFO, REFUSAL}}));
    EXPECT_EQ(sleep.sleeps(), std::vector<unsigned int>(30, 1));
    EXPECT_EQ(readFile(framework.lock()), "other-host");
    EXPECT_EQ(readFile(framework.session()), "0:/m/theirs.xml\n");
}

TEST_F(LockWait, StartsASessionWhenTheLockIsReleasedAfter5Seconds)
{
    releaseDuring(5);
    writeFile(framework.list(), "/m/changed.xml\n");

    const ToolRun run = runTool({"-a", "/m/a.xml"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({NEW_SESSION, UPDATED, "--addModelFile=/m/a.xml", COMPLETED}));
    EXPECT_EQ(run.systemLog, (Messages{{LOG_DEBUG, "--addModelFile=/m/a.xml"}}));
    EXPECT_EQ(sleep.sleeps().size(), 5U);
    EXPECT_EQ(readFile(framework.lock()), "this-host");
    EXPECT_EQ(readFile(framework.session()), "0:/m/a.xml\n");
    EXPECT_EQ(readFile(framework.list(".tmp")), "/m/changed.xml\n");
    EXPECT_EQ(readFile(framework.configuration(".tmp")), TemporaryFramework::PLACEHOLDER_CONFIGURATION);
}

TEST_F(LockWait, StartsASessionAtThe30thAttempt)
{
    releaseDuring(29);

    const ToolRun run = runTool({"-a", "/m/a.xml"});

    EXPECT_EQ(run.log, info({NEW_SESSION, UPDATED, "--addModelFile=/m/a.xml", COMPLETED}));
    EXPECT_EQ(sleep.sleeps().size(), 29U);
}

TEST_F(LockWait, RefusesTheLockOfTheLastAttemptAndLeavesIt)
{
    releaseDuring(30);

    const ToolRun run = runTool({"-a", "/m/a.xml"});

    const std::string refusal =
        "WARNING: Session already in progress and locked by: this-host\nPending action canceled.";
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({refusal}));
    EXPECT_EQ(run.systemLog, (Messages{{LOG_DEBUG, "--addModelFile=/m/a.xml"}, {LOG_INFO, refusal}}));
    EXPECT_EQ(sleep.sleeps().size(), 30U);
    EXPECT_EQ(readFile(framework.lock()), "this-host");
    EXPECT_FALSE(exists(framework.session()));
    EXPECT_FALSE(exists(framework.configuration(".tmp")));
}

TEST_F(LockWait, TreatsALockCreationFailureAsSuccess)
{
    sleep.during(1, [this] { std::filesystem::remove_all(framework.path() + "/etc/model"); });

    const ToolRun run = runTool({"-a", "/m/a.xml"});

    EXPECT_EQ(run.status, 70);
    EXPECT_EQ(
        run.log,
        (Messages{{2, "Unable to create lockfile"}, {6, NEW_SESSION}, {6, UPDATED}, {6, "--addModelFile=/m/a.xml"}}));
    EXPECT_EQ(sleep.sleeps().size(), 1U);
}

TEST_F(LockWait, DropsTheStagedActionAndTheCommitOfARefusedRun)
{
    const ToolRun run = runTool({"-a", "/m/a.xml", "--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({REFUSAL}));
    EXPECT_EQ(readFile(framework.session()), "0:/m/theirs.xml\n");
}

TEST_F(LockWait, KeepsActionsLoadedByAnEarlierStatus)
{
    releaseDuring(1);

    const ToolRun run = runTool({"--status", "-a", "/m/a.xml"});

    EXPECT_EQ(run.log, info({"Queued actions:", "--addModelFile=/m/theirs.xml", NEW_SESSION, UPDATED,
                             "--addModelFile=/m/a.xml", COMPLETED}));
    EXPECT_EQ(readFile(framework.session()), "0:/m/theirs.xml\n0:/m/a.xml\n");
}

TEST_F(LockWait, AnnouncesTheLastActionLoadedByALaterStatus)
{
    releaseDuring(1);

    const ToolRun run = runTool({"-a", "/m/a.xml", "--status"});

    EXPECT_EQ(run.log, info({"Queued actions:", "--addModelFile=/m/a.xml", "--addModelFile=/m/theirs.xml", NEW_SESSION,
                             UPDATED, "--addModelFile=/m/theirs.xml", COMPLETED}));
    EXPECT_EQ(run.systemLog, (Messages{{LOG_DEBUG, "--addModelFile=/m/theirs.xml"}}));
    EXPECT_EQ(readFile(framework.session()), "0:/m/a.xml\n0:/m/theirs.xml\n");
}

TEST_F(LockWait, ShowsAnEmptyLineForAnUnknownKindLoadedLater)
{
    writeFile(framework.session(), "7:unknown\n");
    releaseDuring(1);

    const ToolRun run = runTool({"-a", "/m/a.xml", "--status"});

    EXPECT_EQ(run.log,
              info({"Queued actions:", "--addModelFile=/m/a.xml", "unknown", NEW_SESSION, UPDATED, "", COMPLETED}));
    EXPECT_EQ(run.systemLog, (Messages{{LOG_DEBUG, ""}}));
    EXPECT_EQ(readFile(framework.session()), "0:/m/a.xml\n7:unknown\n");
}

TEST_F(LockWait, ShowsFormatCharactersOfAnOwnerUnchanged)
{
    writeFile(framework.lock(), "%s%n");

    const ToolRun run = runTool({"-a", "/m/a.xml"});

    const std::string refusal = "WARNING: Session already in progress and locked by: %s%n\nPending action canceled.";
    EXPECT_EQ(run.log, info({refusal}));
    EXPECT_EQ(run.systemLog[1], std::make_pair(LOG_INFO, refusal));
}

} // namespace

} // namespace QMT::Test
