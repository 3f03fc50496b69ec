#include "support/FailingCall.h"
#include "support/FakeOwnership.h"
#include "support/FakeUser.h"
#include "support/Files.h"
#include "support/ImplTest.h"
#include "support/OpenedFiles.h"

#include <Poco/Exception.h>
#include <Poco/Path.h>

#include <syslog.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

namespace QMT::Test
{

namespace
{

using Calls = std::vector<std::string>;

const unsigned int UNCHANGED = 0xFFFFFFFF;

class CommitRollback : public ImplTest
{
protected:
    CommitRollback()
    {
        writeFile(framework.configuration(), "live configuration");
        writeFile(framework.list(), "live list");
    }

    void makeSession() const
    {
        writeFile(framework.configuration(".tmp"), "new configuration");
        writeFile(framework.list(".tmp"), "new list");
        writeFile(framework.session(), "0:/m/a.xml\n");
        writeFile(framework.lock(), "this-host");
    }

    void makeBackups() const
    {
        writeFile(framework.configuration(".bak"), "old configuration");
        writeFile(framework.list(".bak"), "old list");
    }
};

// ---- commitCompleted ----

TEST_F(CommitRollback, CommitCompletedInstallsAndEndsTheSession)
{
    makeSession();
    makeBackups();

    EXPECT_TRUE(impl.commitCompleted());

    framework.expectLive("new configuration", "new list");
    framework.expectBackups("live configuration", "live list");
    EXPECT_FALSE(exists(framework.configuration(".tmp")));
    EXPECT_FALSE(exists(framework.list(".tmp")));
    EXPECT_FALSE(exists(framework.session()));
    EXPECT_FALSE(exists(framework.lock()));
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(CommitRollback, CommitCompletedBlocksSignals)
{
    makeSession();
    const OpenedFiles files;

    EXPECT_TRUE(impl.commitCompleted());

    EXPECT_TRUE(files.wereSignalsBlockedFor(framework.list(".tmp")));
    EXPECT_TRUE(files.wereSignalsBlockedFor(framework.configuration(".tmp")));
    EXPECT_FALSE(OpenedFiles::areSignalsBlocked());
}

TEST_F(CommitRollback, CommitCompletedSetsNoOwnersOrModes)
{
    makeSession();
    const FakeOwnership ownership;

    EXPECT_TRUE(impl.commitCompleted());

    EXPECT_EQ(ownership.calls(), Calls());
}

TEST_F(CommitRollback, AdjustOwnershipSetsGroupAndModeOnCommit)
{
    makeSession();
    const FakeOwnership ownership;
    impl.adjustOwnership(4711);

    EXPECT_TRUE(impl.commitCompleted());

    EXPECT_EQ(ownership.calls(),
              (Calls{"chown " + framework.list() + " 4294967295 4711", "chmod " + framework.list() + " 0660",
                     "chown " + framework.configuration() + " 4294967295 4711",
                     "chmod " + framework.configuration() + " 0660"}));
}

TEST_F(CommitRollback, AdjustOwnershipFailuresDoNotStopACommit)
{
    makeSession();
    const FakeOwnership refusing(-1);
    impl.adjustOwnership(4711);

    EXPECT_TRUE(impl.commitCompleted());

    framework.expectLive("new configuration", "new list");
    EXPECT_FALSE(exists(framework.lock()));
    const std::string group = "Error occurred while changing the group of directory ";
    const std::string mode = "Error occurred while modifying the permissions of ";
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_ERR, group + framework.list() + " file"},
                                              {LOG_ERR, mode + framework.list() + " file"},
                                              {LOG_ERR, group + framework.configuration() + " file"},
                                              {LOG_ERR, mode + framework.configuration() + " file"}}));
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(CommitRollback, CommitCompletedStopsWithoutAWorkingList)
{
    makeSession();
    std::filesystem::remove(framework.list(".tmp"));

    EXPECT_THROW(impl.commitCompleted(), Poco::FileException);

    EXPECT_FALSE(exists(framework.list()));
    EXPECT_EQ(readFile(framework.list(".bak")), "live list");
    EXPECT_EQ(readFile(framework.configuration()), "live configuration");
    EXPECT_EQ(readFile(framework.configuration(".tmp")), "new configuration");
    EXPECT_TRUE(exists(framework.session()));
    EXPECT_TRUE(exists(framework.lock()));
    EXPECT_FALSE(impl.rollBack());
}

TEST_F(CommitRollback, CommitCompletedStopsWithoutAWorkingConfig)
{
    makeSession();
    std::filesystem::remove(framework.configuration(".tmp"));

    EXPECT_THROW(impl.commitCompleted(), Poco::FileException);

    EXPECT_EQ(readFile(framework.list()), "new list");
    EXPECT_FALSE(exists(framework.configuration()));
    EXPECT_EQ(readFile(framework.configuration(".bak")), "live configuration");
    EXPECT_TRUE(exists(framework.session()));
    EXPECT_TRUE(exists(framework.lock()));
}

TEST_F(CommitRollback, CommitCompletedInstallsNothingWhenASyncFails)
{
    makeSession();
    for (const std::string& path : {framework.list(".tmp"), framework.configuration(".tmp")})
    {
        const FailingCall failing("fsync", path, EIO);

        EXPECT_THROW(impl.commitCompleted(), Poco::WriteFileException);
    }
    framework.expectLive("live configuration", "live list");
    EXPECT_EQ(readFile(framework.list(".tmp")), "new list");
    EXPECT_EQ(readFile(framework.configuration(".tmp")), "new configuration");
    EXPECT_FALSE(exists(framework.list(".bak")));
    EXPECT_TRUE(exists(framework.lock()));
}

TEST_F(CommitRollback, CommitCompletedStopsWhenTheListSyncFails)
{
    makeSession();
    const FailingCall failing("fsync", directoryOf(framework.list()), EIO);

    EXPECT_THROW(impl.commitCompleted(), Poco::WriteFileException);

    framework.expectLive("live configuration", "new list");
    EXPECT_TRUE(exists(framework.session()));
    EXPECT_TRUE(exists(framework.lock()));
}

TEST_F(CommitRollback, CommitCompletedStopsWhenTheConfigSyncFails)
{
    makeSession();
    const FailingCall failing("fsync", directoryOf(framework.configuration()), EIO);

    EXPECT_THROW(impl.commitCompleted(), Poco::WriteFileException);

    framework.expectLive("new configuration", "new list");
    EXPECT_TRUE(exists(framework.session()));
    EXPECT_TRUE(exists(framework.lock()));
}

TEST_F(CommitRollback, CommitCompletedThrowsWhenTheLastSyncFails)
{
    makeSession();
    const FailingCall failing("fsync", directoryOf(framework.lock()), EIO, 1);

    EXPECT_THROW(impl.commitCompleted(), Poco::WriteFileException);

    EXPECT_FALSE(exists(framework.session()));
    EXPECT_FALSE(exists(framework.lock()));
}

TEST_F(CommitRollback, CommitCompletedSucceedsWhereSyncIsUnsupported)
{
    makeSession();
    const FailingCall failing("fsync", directoryOf(framework.list()), EINVAL);

    EXPECT_TRUE(impl.commitCompleted());

    EXPECT_EQ(failing.failures(), 2);
    framework.expectLive("new configuration", "new list");
}

TEST_F(CommitRollback, CommitCompletedRefusesLinksOfAnotherUser)
{
    for (const std::string& path : {framework.list(".bak"), framework.list(".tmp"), framework.configuration(".bak"),
                                    framework.configuration(".tmp")})
    {
        makeSession();
        const std::string target = framework.file("target", "untouched");
        std::filesystem::remove(path);
        std::filesystem::create_symlink(target, path);
        const FakeUser another;

        EXPECT_THROW(impl.commitCompleted(), Poco::OpenFileException);

        EXPECT_EQ(readFile(target), "untouched");
        framework.expectLive("live configuration", "live list");
        std::filesystem::remove(path);
    }
}

TEST_F(CommitRollback, CommitCompletedThrowsWithoutASessionFile)
{
    makeSession();
    std::filesystem::remove(framework.session());

    EXPECT_THROW(impl.commitCompleted(), Poco::FileException);

    framework.expectLive("new configuration", "new list");
    EXPECT_TRUE(exists(framework.lock()));
}

// ---- rollBack ----

TEST_F(CommitRollback, RollBackRestoresTheBackups)
{
    makeBackups();

    EXPECT_TRUE(impl.rollBack());

    framework.expectLive("old configuration", "old list");
    EXPECT_FALSE(exists(framework.configuration(".bak")));
    EXPECT_FALSE(exists(framework.list(".bak")));
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(CommitRollback, RollBackBlocksSignals)
{
    makeBackups();
    const OpenedFiles files;

    EXPECT_TRUE(impl.rollBack());

    EXPECT_TRUE(files.wereSignalsBlockedFor(framework.list(".bak")));
    EXPECT_TRUE(files.wereSignalsBlockedFor(framework.configuration(".bak")));
    EXPECT_FALSE(OpenedFiles::areSignalsBlocked());
}

TEST_F(CommitRollback, RollBackChangesNothingInAnOpenSession)
{
    makeBackups();
    writeFile(framework.lock(), "other-host");

    EXPECT_TRUE(impl.rollBack());

    framework.expectLive("live configuration", "live list");
    framework.expectBackups("old configuration", "old list");
}

TEST_F(CommitRollback, RollBackChangesNothingWithoutAListBackup)
{
    writeFile(framework.configuration(".bak"), "old configuration");

    EXPECT_TRUE(impl.rollBack());

    framework.expectLive("live configuration", "live list");
    EXPECT_EQ(readFile(framework.configuration(".bak")), "old configuration");
}

TEST_F(CommitRollback, RollBackRestoresTheListAlone)
{
    writeFile(framework.list(".bak"), "old list");

    EXPECT_TRUE(impl.rollBack());

    framework.expectLive("live configuration", "old list");
    EXPECT_FALSE(exists(framework.list(".bak")));
}

TEST_F(CommitRollback, RollBackFailsWithoutALiveList)
{
    makeBackups();
    std::filesystem::remove(framework.list());

    EXPECT_FALSE(impl.rollBack());

    EXPECT_EQ(readFile(framework.configuration()), "live configuration");
    framework.expectBackups("old configuration", "old list");
}

TEST_F(CommitRollback, RollBackStopsWhenTheListSyncFails)
{
    makeBackups();
    const FailingCall failing("fsync", directoryOf(framework.list()), EIO);

    EXPECT_THROW(impl.rollBack(), Poco::WriteFileException);

    framework.expectLive("live configuration", "old list");
    EXPECT_EQ(readFile(framework.configuration(".bak")), "old configuration");
}

TEST_F(CommitRollback, RollBackThrowsWhenTheConfigSyncFails)
{
    makeBackups();
    const FailingCall failing("fsync", directoryOf(framework.configuration()), EIO);

    EXPECT_THROW(impl.rollBack(), Poco::WriteFileException);

    framework.expectLive("old configuration", "old list");
}

TEST_F(CommitRollback, RollBackRefusesLinksOfAnotherUser)
{
    for (const std::string& path : {framework.list(".bak"), framework.configuration(".bak")})
    {
        makeBackups();
        std::filesystem::remove(path);
        std::filesystem::create_symlink(framework.file("target", "planted"), path);
        const FakeUser another;

        EXPECT_THROW(impl.rollBack(), Poco::OpenFileException);

        framework.expectLive("live configuration", "live list");
        std::filesystem::remove(path);
    }
}

TEST_F(CommitRollback, AdjustOwnershipUsesTheBackupsPathOnRollBack)
{
    makeBackups();
    const FakeOwnership ownership;
    impl.adjustOwnership(4711);

    EXPECT_TRUE(impl.rollBack());

    EXPECT_EQ(ownership.calls(),
              (Calls{"chown " + framework.list() + " 4294967295 4711", "chmod " + framework.list() + " 0660",
                     "chown " + framework.configuration(".bak") + " 4294967295 4711",
                     "chmod " + framework.configuration(".bak") + " 0660"}));
}

TEST_F(CommitRollback, AdjustOwnershipReportsTheMissingBackup)
{
    makeBackups();
    impl.adjustOwnership(::getegid());

    EXPECT_TRUE(impl.rollBack());

    const std::string path = framework.configuration(".bak");
    EXPECT_EQ(systemLog.messages(),
              (Messages{{LOG_ERR, "Error occurred while changing the group of directory " + path + " file"},
                        {LOG_ERR, "Error occurred while modifying the permissions of " + path + " file"}}));
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(CommitRollback, RollBackThrowsWhenTheLockStatFails)
{
    makeBackups();
    const FailingCall failing("stat", framework.lock(), EIO);
    try
    {
        impl.rollBack();
        FAIL();
    }
    catch (const Poco::FileException& exc)
    {
        EXPECT_EQ(exc.message(), "Input/output error: " + framework.lock());
    }
    framework.expectLive("live configuration", "live list");
    framework.expectBackups("old configuration", "old list");
}

TEST_F(CommitRollback, RollBackFailsWhenTheListStatFails)
{
    makeBackups();
    const FailingCall failing("stat", framework.list(), EIO);

    EXPECT_FALSE(impl.rollBack());
}

TEST_F(CommitRollback, RollBackChangesNothingWhenTheBackupStatFails)
{
    makeBackups();
    const FailingCall failing("stat", framework.list(".bak"), EIO);

    EXPECT_TRUE(impl.rollBack());

    framework.expectLive("live configuration", "live list");
}

TEST_F(CommitRollback, RollBackThrowsWhenTheConfigBackupStatFails)
{
    makeBackups();
    const FailingCall failing("stat", framework.configuration(".bak"), EACCES);

    EXPECT_THROW(impl.rollBack(), Poco::FileException);
}

TEST_F(CommitRollback, RollBackKeepsTheBackupsWhenTheSyncFails)
{
    makeBackups();
    const FailingCall failing("fsync", directoryOf(framework.list()), EIO);

    EXPECT_THROW(impl.rollBack(), Poco::WriteFileException);

    framework.expectBackups("old configuration", "old list");
}

// ---- modifyFilePermissions, modifyFileOwnerAndGroup ----

TEST_F(CommitRollback, ModifyFilePermissionsSetsTheMode)
{
    CQorModelToolImpl::modifyFilePermissions(Poco::Path(framework.list()), 0640);

    EXPECT_EQ(modeOf(framework.list()), 0640U);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(CommitRollback, ModifyFilePermissionsReportsToTheSystemLog)
{
    CQorModelToolImpl::modifyFilePermissions(Poco::Path("/nonexistent/%s"), 0640);

    EXPECT_EQ(systemLog.messages(),
              (Messages{{LOG_ERR, "Error occurred while modifying the permissions of /nonexistent/%s file"}}));
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(CommitRollback, ModifyFileOwnerAndGroupSetsBoth)
{
    const FakeOwnership ownership;

    CQorModelToolImpl::modifyFileOwnerAndGroup(Poco::Path("/some/file"), 12, 34);

    EXPECT_EQ(ownership.calls(), (Calls{"chown /some/file 12 34"}));
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(CommitRollback, ModifyFileOwnerAndGroupReportsToTheSystemLog)
{
    CQorModelToolImpl::modifyFileOwnerAndGroup(Poco::Path("/nonexistent/%s"), UNCHANGED, ::getegid());

    EXPECT_EQ(systemLog.messages(),
              (Messages{{LOG_ERR, "Error occurred while changing the group of directory /nonexistent/%s file"}}));
    EXPECT_EQ(log.messages(), SILENCE);
}

} // namespace

} // namespace QMT::Test
