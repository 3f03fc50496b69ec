#include "ctl/CTransaction.h"

#include "base/CSignalCatcher.h"
#include "ctl/SilentLogger.h"
#include "support/FailingAllocation.h"
#include "support/FailingCall.h"
#include "support/FakeHostName.h"
#include "support/FakeInstallation.h"
#include "support/Files.h"
#include "support/TemporaryFramework.h"
#include "support/ThrownBy.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace QMT::Test
{

namespace
{

const FilePair BEFORE = {"<before/>", "/before\n"};
const FilePair AFTER = {"<after/>", "/after\n"};
const FilePair OLDER = {"<older/>", "/older\n"};
const CommandQueue QUEUE = {{CmdID::RemoveModelFile, "/second"}, {CmdID::AddModelFile, "/first"}};

class Transaction : public testing::Test
{
protected:
    Transaction()
    {
        writeFile(framework.configuration(), *BEFORE.configuration);
        writeFile(framework.list(), *BEFORE.list);
        writeFile(framework.configuration(".bak"), *OLDER.configuration);
        writeFile(framework.list(".bak"), *OLDER.list);
    }

    FrameworkContents now() const
    {
        return readFramework(framework.path());
    }

    /// Everything is as it was, and no session is there.
    void expectUntouched() const
    {
        const FrameworkContents found = now();
        EXPECT_EQ(found.live, BEFORE);
        EXPECT_EQ(found.backup, OLDER);
        expectNoSession();
    }

    void expectNoSession() const
    {
        const FrameworkContents found = now();
        EXPECT_EQ(found.workingCopy, FilePair());
        EXPECT_EQ(found.session, std::nullopt);
        EXPECT_EQ(found.lock, std::nullopt);
    }

    /// The reason for which commit() fails; empty when it succeeds.
    static std::string failureOf(CTransaction& failing)
    {
        return thrownBy([&failing] { static_cast<void>(failing.commit(QUEUE)); });
    }

    const FakeHostName host{"alpha"};
    TemporaryFramework framework;
    FakeInstallation installation;
    CTransaction transaction{framework.path(), BEFORE, AFTER, silentLogger()};
};

TEST_F(Transaction, OpenStartsItsOwnSession)
{
    writeFile(framework.session(), "0:/left over\n");

    EXPECT_TRUE(transaction.open());

    EXPECT_EQ(now().lock, "qor_mim_ctl@alpha");
    EXPECT_EQ(now().workingCopy, BEFORE);
    EXPECT_EQ(now().session, std::nullopt);
    EXPECT_EQ(now().live, BEFORE);
    EXPECT_EQ(now().backup, OLDER);
}

TEST_F(Transaction, OpenFailsDuringAnotherSession)
{
    writeFile(framework.lock(), "beta");
    writeFile(framework.session(), "0:/theirs\n");

    EXPECT_FALSE(transaction.open());

    EXPECT_EQ(now().lock, "beta");
    EXPECT_EQ(now().session, "0:/theirs\n");
    EXPECT_EQ(now().live, BEFORE);
}

TEST_F(Transaction, OpenFailsWhenALiveFileHasChanged)
{
    writeFile(framework.list(), "/other\n");

    EXPECT_FALSE(transaction.open());

    EXPECT_EQ(readFile(framework.list()), "/other\n");
    expectNoSession();
}

TEST_F(Transaction, OpenLeavesNothingWhenTheLockCannotBeMade)
{
    const FailingCall failing("open", framework.lock(), EACCES);

    EXPECT_EQ(thrownBy([&] { static_cast<void>(transaction.open()); }),
              "File access error: Permission denied: " + framework.lock());

    expectUntouched();
}

TEST_F(Transaction, OpenLeavesNothingWhenABackupIsUnreadable)
{
    std::filesystem::remove(framework.list(".bak"));
    putDirectoryAt(framework.list(".bak"));

    EXPECT_EQ(thrownBy([&] { static_cast<void>(transaction.open()); }),
              "File access error: " + framework.list(".bak") + "; the previous files are back");

    EXPECT_EQ(readFile(framework.list()), *BEFORE.list);
    EXPECT_FALSE(exists(framework.lock()));
    EXPECT_FALSE(exists(framework.list(".tmp")));
}

TEST_F(Transaction, CommitInstallsBothFiles)
{
    ASSERT_TRUE(transaction.open());

    EXPECT_EQ(transaction.commit(QUEUE).verdict, Judgement::Verdict::ABSENT);

    EXPECT_EQ(now().live, AFTER);
    EXPECT_EQ(now().backup, BEFORE);
    expectNoSession();
    EXPECT_TRUE(transaction.lost().empty());
}

TEST_F(Transaction, CommitKeepsTheLockUntilTheValidatorHasEnded)
{
    installation.setValidator("cp -r " + framework.path() + "/etc " + framework.path() + "/seen");
    ASSERT_TRUE(transaction.open());

    EXPECT_EQ(transaction.commit(QUEUE).verdict, Judgement::Verdict::ACCEPTED);

    const std::string seen = framework.path() + "/seen/model/";
    EXPECT_EQ(readFile(seen + "qor_mim_tool.lock"), "qor_mim_ctl@alpha");
    EXPECT_FALSE(exists(seen + "cmdfifo.dat"));
    EXPECT_FALSE(exists(seen + "model_file_list.cfg.tmp"));
    EXPECT_EQ(readFile(seen + "model_file_list.cfg"), *AFTER.list);
}

TEST_F(Transaction, CommitUndoesEverythingWhenRejected)
{
    installation.setValidator("echo no; exit 1");
    writeFile(framework.session(), "0:/left over\n");
    ASSERT_TRUE(transaction.open());

    const Judgement judgement = transaction.commit(QUEUE);

    EXPECT_EQ(judgement.verdict, Judgement::Verdict::REJECTED);
    EXPECT_EQ(judgement.report, "no\n");
    EXPECT_EQ(now().session, "0:/left over\n");
    std::filesystem::remove(framework.session());
    expectUntouched();
}

TEST_F(Transaction, CommitRemovesNewBackupsWhenRejected)
{
    std::filesystem::remove(framework.list(".bak"));
    std::filesystem::remove(framework.configuration(".bak"));
    installation.setValidator("exit 1");
    ASSERT_TRUE(transaction.open());

    static_cast<void>(transaction.commit(QUEUE));

    EXPECT_EQ(now().backup, FilePair());
    EXPECT_EQ(now().live, BEFORE);
}

TEST_F(Transaction, CommitLeavesWorkingCopiesWhenABackupCannotBeRestored)
{
    installation.setValidator("exit 1");
    ASSERT_TRUE(transaction.open());
    const std::string error = "File access error: Input/output error: " + framework.list(".bak");
    const FailingCall failing("rename", framework.list(".bak"), EIO, 1);

    EXPECT_EQ(failureOf(transaction),
              error + "; the previous files could not be put back: " + error + "; call qor_mim_ctl recover");
    EXPECT_EQ(now().workingCopy, BEFORE);
}

TEST_F(Transaction, CommitUndoesEverythingWhereverItFails)
{
    struct Call
    {
        std::string name;
        std::string path;
        std::string error;
    };
    const auto failing = [](const std::string& name, const std::string& path)
    { return Call{name, path, "File access error: Input/output error: " + path}; };
    const std::vector<Call> calls = {
        failing("unlink", framework.list(".bak")),
        failing("unlink", framework.configuration(".bak")),
        failing("rename", framework.list(".bak")),
        failing("rename", framework.configuration(".bak")),
        {"open", framework.session(), "Cannot write file: " + framework.session()},
        failing("unlink", framework.list(".tmp")),
        failing("rename", framework.list()),
        {"fsync", framework.list() + ".replacement", "File access error: Input/output error: " + framework.list()},
        failing("unlink", framework.configuration(".tmp")),
        failing("rename", framework.configuration()),
        {"unlink", framework.lock(), "I/O error: " + framework.lock()}};
    for (const Call& call : calls)
    {
        SCOPED_TRACE(call.name + " " + call.path);
        CTransaction another(framework.path(), BEFORE, AFTER, silentLogger());
        ASSERT_TRUE(another.open());
        std::string failure;
        {
            const FailingCall failingCall(call.name, call.path, EIO, 0, 1);
            failure = failureOf(another);
        }
        EXPECT_EQ(failure, call.error + "; the previous files are back");
        expectUntouched();
    }
}

TEST_F(Transaction, CommitUndoesEverythingAroundALockedFile)
{
    const std::vector<std::pair<std::string, std::string>> calls = {{"unlink", framework.configuration(".bak")},
                                                                    {"rename", framework.list()},
                                                                    {"rename", framework.configuration()}};
    for (const auto& [call, path] : calls)
    {
        SCOPED_TRACE(path);
        CTransaction another(framework.path(), BEFORE, AFTER, silentLogger());
        ASSERT_TRUE(another.open());
        const FailingCall failing(call, path, EPERM);

        EXPECT_EQ(failureOf(another),
                  "File access error: Operation not permitted: " + path + "; the previous files are back");
        expectUntouched();
    }
}

TEST_F(Transaction, CommitUndoesEverythingWhicheverSyncFails)
{
    const std::string directory =
        "Cannot write file: " + directoryOf(framework.lock()) + "/; the previous files are back";
    const std::string session = "Cannot write file: " + framework.session() + "; the previous files are back";
    std::vector<std::string> failures;
    for (bool hasFailed = true; hasFailed;)
    {
        SCOPED_TRACE(failures.size());
        CTransaction another(framework.path(), BEFORE, AFTER, silentLogger());
        ASSERT_TRUE(another.open());
        const FailingCall failing("fsync", directoryOf(framework.lock()), EIO, static_cast<int>(failures.size()), 1);
        const std::string failure = failureOf(another);
        hasFailed = failing.failures() > 0;
        if (hasFailed)
        {
            failures.push_back(failure);
            expectUntouched();
        }
    }
    // The last one is that of the removal of the lock file.
    EXPECT_EQ(failures, (std::vector<std::string>{directory, directory, directory, session, directory, directory,
                                                  directory, directory}));
    EXPECT_EQ(now().live, AFTER);
}

TEST_F(Transaction, CommitUndoesEverythingWhenMemoryRunsOut)
{
    const std::size_t MUCH = 1U << 20U;
    const CommandQueue large = {{CmdID::AddModelFile, "/" + std::string(MUCH, 'a')}};
    ASSERT_TRUE(transaction.open());
    std::string failure;
    {
        const FailingAllocation failing(MUCH);
        try
        {
            static_cast<void>(transaction.commit(large));
        }
        catch (const std::runtime_error& exc)
        {
            failure = exc.what();
        }
    }

    EXPECT_EQ(failure, "std::bad_alloc; the previous files are back");
    expectUntouched();
}

TEST_F(Transaction, CommitAsksForARecoveryWhenItsUndoFails)
{
    installation.setValidator("exit 1");
    ASSERT_TRUE(transaction.open());
    const FailingCall failing("rename", framework.configuration(), EIO, 1);

    const std::string failure = failureOf(transaction);

    const std::string error = "File access error: Input/output error: " + framework.configuration();
    EXPECT_EQ(failure, error + "; the previous files could not be put back: " + error + "; call qor_mim_ctl recover");
    EXPECT_EQ(now().lock, "qor_mim_ctl@alpha");
    EXPECT_EQ(now().session, "0:/first\n2:/second\n");
    EXPECT_EQ(now().backup, BEFORE);
}

TEST_F(Transaction, CommitUndoesEverythingAfterASignal)
{
    const CSignalCatcher catcher;
    ASSERT_TRUE(transaction.open());
    ASSERT_EQ(::raise(SIGTERM), 0);

    EXPECT_EQ(failureOf(transaction), "Signal received: 15; the previous files are back");

    expectUntouched();
}

TEST_F(Transaction, CommitKeepsItsWorkingCopiesForTheUndo)
{
    const CSignalCatcher catcher;
    ASSERT_TRUE(transaction.open());
    ASSERT_EQ(::raise(SIGTERM), 0);
    const FailingCall failing("rename", framework.configuration(".tmp"), ENOSPC);

    EXPECT_EQ(failureOf(transaction), "Signal received: 15; the previous files are back");

    expectUntouched();
}

TEST_F(Transaction, CommitFreesTheSpaceOfEarlierBackups)
{
    std::ifstream configuration(framework.configuration(".bak"));
    std::ifstream list(framework.list(".bak"));
    ASSERT_TRUE(transaction.open());

    static_cast<void>(transaction.commit(QUEUE));

    EXPECT_EQ(configuration.seekg(0, std::ios::end).tellg(), 0);
    EXPECT_EQ(list.seekg(0, std::ios::end).tellg(), 0);
}

TEST_F(Transaction, CommitStopsWhenAnotherRunEndsItsSession)
{
    installation.setValidator("rm " + framework.lock() + "; exit 1");
    ASSERT_TRUE(transaction.open());

    EXPECT_EQ(failureOf(transaction), "another run interfered, and nothing more was changed: the lock file " +
                                          framework.lock() + " is gone or not ours; look at " +
                                          framework.configuration() + " and " + framework.list());

    EXPECT_EQ(now().live, AFTER);
    EXPECT_EQ(now().backup, BEFORE);
}

TEST_F(Transaction, CommitStopsWhenAnotherRunChangesAFile)
{
    installation.setValidator("echo /edited >>" + framework.list());
    ASSERT_TRUE(transaction.open());

    EXPECT_EQ(failureOf(transaction),
              "another run interfered, and nothing more was changed: the files do not hold what was last read or "
              "written; look at " +
                  framework.configuration() + " and " + framework.list());

    EXPECT_EQ(readFile(framework.list()), *AFTER.list + "/edited\n");
    EXPECT_EQ(now().lock, "qor_mim_ctl@alpha");
}

TEST_F(Transaction, CommitDoesNotRewriteAnUnchangedFile)
{
    CTransaction listAlone(framework.path(), BEFORE, {BEFORE.configuration, AFTER.list}, silentLogger());
    setModificationTime(framework.configuration(), 1000);
    const auto time = std::filesystem::last_write_time(framework.configuration());
    ASSERT_TRUE(listAlone.open());

    static_cast<void>(listAlone.commit(QUEUE));

    EXPECT_EQ(std::filesystem::last_write_time(framework.configuration()), time);
    EXPECT_EQ(readFile(framework.list()), *AFTER.list);
    EXPECT_EQ(now().backup, BEFORE);
}

TEST_F(Transaction, LostReturnsAModeThatCannotBeSet)
{
    ASSERT_TRUE(transaction.open());
    const FailingCall failing("fchmod", framework.list() + ".replacement", EPERM);

    static_cast<void>(transaction.commit(QUEUE));

    EXPECT_EQ(transaction.lost(), std::vector<std::string>{"the mode of " + framework.list() + " could not be kept"});
}

} // namespace

} // namespace QMT::Test
