#include "ctl/CGuardedTransfer.h"

#include "base/CFileSnapshot.h"
#include "support/FailingCall.h"
#include "support/Files.h"
#include "support/TemporaryFramework.h"
#include "support/ThrownBy.h"

#include <Poco/Exception.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <functional>
#include <unistd.h>

namespace QMT::Test
{

namespace
{

using Lines = std::vector<std::string>;

const FilePair OLD = {"<old/>", "/old\n"};
const FilePair NEW = {"<new/>", "/new\n"};

/// A transaction has made its working copies and its lock file.
class GuardedTransfer : public testing::Test
{
protected:
    GuardedTransfer()
    {
        writeFile(framework.configuration(), *OLD.configuration);
        writeFile(framework.list(), *OLD.list);
        writeFile(framework.configuration(".tmp"), *NEW.configuration);
        writeFile(framework.list(".tmp"), *NEW.list);
        writeFile(framework.lock(), "ours");
    }

    void expectInterference(const std::function<void()>& action, const std::string& reason) const
    {
        try
        {
            action();
            ADD_FAILURE() << "nothing was noticed";
        }
        catch (const CInterference& exc)
        {
            EXPECT_EQ(exc.what(), "another run interfered, and nothing more was changed: " + reason + "; look at " +
                                      framework.configuration() + " and " + framework.list());
        }
    }

    TemporaryFramework framework;
    const std::string otherLock = "the lock file " + framework.lock() + " is gone or not ours";
    const std::string otherFiles = "the files do not hold what was last read or written";
    CGuardedTransfer transfer{framework.path(), "ours", OLD, NEW};
};

TEST_F(GuardedTransfer, CopyKeepsAttributes)
{
    ::chmod(framework.list().c_str(), 0604);

    transfer.copy(framework.list(), framework.list(".bak"));

    EXPECT_EQ(readFile(framework.list(".bak")), *OLD.list);
    EXPECT_EQ(modeOf(framework.list(".bak")), 0604U);
    EXPECT_TRUE(transfer.lost().empty());
}

TEST_F(GuardedTransfer, CopyThrowsForAnUnreadableFile)
{
    putDirectoryAt(framework.list());

    EXPECT_EQ(thrownBy([&] { transfer.copy(framework.list(), framework.list(".bak")); }),
              "File access error: the file cannot be read: " + framework.list());

    EXPECT_FALSE(exists(framework.list(".bak")));
}

TEST_F(GuardedTransfer, LostListsAnAttributeOfABackupOnce)
{
    const FailingCall failing("fchmod", framework.list(".bak") + ".replacement", EPERM);

    transfer.copy(framework.list(), framework.list(".bak"));
    transfer.copy(framework.list(), framework.list(".bak"));

    EXPECT_EQ(transfer.lost(), Lines{"the mode of " + framework.list(".bak") + " could not be kept"});
}

TEST_F(GuardedTransfer, LostOmitsAttributesOfAWorkingCopy)
{
    const FailingCall failing("fchmod", framework.list(".tmp") + ".replacement", EPERM);

    transfer.copy(framework.list(), framework.list(".tmp"));

    EXPECT_EQ(failing.failures(), 1);
    EXPECT_TRUE(transfer.lost().empty());
}

TEST_F(GuardedTransfer, MoveInstallsAWorkingCopy)
{
    ::chmod(framework.list().c_str(), 0604);

    transfer.move(framework.list(".tmp"), framework.list());

    framework.expectLive(*OLD.configuration, *NEW.list);
    EXPECT_EQ(modeOf(framework.list()), 0604U);
    EXPECT_FALSE(exists(framework.list(".tmp")));
    transfer.check();
}

TEST_F(GuardedTransfer, MoveLeavesALiveFileInPlace)
{
    transfer.move(framework.list(), framework.list(".bak"));

    EXPECT_EQ(readFile(framework.list()), *OLD.list);
    EXPECT_FALSE(exists(framework.list(".bak")));
}

TEST_F(GuardedTransfer, MoveDoesNotRewriteAnUnchangedFile)
{
    CGuardedTransfer listAlone(framework.path(), "ours", OLD, {OLD.configuration, NEW.list});
    const FailingCall failing("rename", framework.configuration(), EIO);

    listAlone.move(framework.configuration(".tmp"), framework.configuration());

    EXPECT_EQ(failing.failures(), 0);
    EXPECT_EQ(readFile(framework.configuration()), *OLD.configuration);
    EXPECT_FALSE(exists(framework.configuration(".tmp")));
}

TEST_F(GuardedTransfer, CheckAndMoveThrowWithoutTheLockFile)
{
    writeFile(framework.lock(), "theirs");
    expectInterference([this] { transfer.check(); }, otherLock);
    ::unlink(framework.lock().c_str());
    expectInterference([this] { transfer.move(framework.list(".tmp"), framework.list()); }, otherLock);

    EXPECT_EQ(readFile(framework.list(".tmp")), *NEW.list);
    framework.expectLive(*OLD.configuration, *OLD.list);
}

TEST_F(GuardedTransfer, MoveThrowsWhenALiveFileWasEdited)
{
    writeFile(framework.configuration(), "<edited/>");

    expectInterference([this] { transfer.move(framework.list(".tmp"), framework.list()); }, otherFiles);

    EXPECT_EQ(readFile(framework.list()), *OLD.list);
}

TEST_F(GuardedTransfer, CheckThrowsWhenAnInstalledFileWasPutBack)
{
    transfer.move(framework.list(".tmp"), framework.list());
    writeFile(framework.list(), *OLD.list);

    expectInterference([this] { transfer.check(); }, otherFiles);
}

TEST_F(GuardedTransfer, CheckThrowsWhenALiveFileIsMissing)
{
    ::unlink(framework.list().c_str());

    expectInterference([this] { transfer.check(); }, otherFiles);
}

TEST_F(GuardedTransfer, CheckThrowsForAnUnreadableFile)
{
    putDirectoryAt(framework.lock());

    try
    {
        transfer.check();
        FAIL();
    }
    catch (const Poco::FileException& exc)
    {
        EXPECT_EQ(exc.message(), "the file cannot be read: " + framework.lock());
    }
}

TEST_F(GuardedTransfer, CheckAcceptsEitherContentAfterAFailedMove)
{
    {
        // The new file is in its place then, its name not yet on the disk.
        const FailingCall failing("fsync", directoryOf(framework.configuration()), EIO, 1);
        EXPECT_EQ(thrownBy([&] { transfer.move(framework.configuration(".tmp"), framework.configuration()); }),
                  "Cannot write file: " + directoryOf(framework.configuration()) + "/");
    }
    ASSERT_EQ(readFile(framework.configuration()), *NEW.configuration);
    transfer.check();

    writeFile(framework.configuration(), *OLD.configuration);
    transfer.check();
}

TEST_F(GuardedTransfer, PutBackRestoresALiveFile)
{
    const CFileSnapshot snapshot(framework.list());
    transfer.move(framework.list(".tmp"), framework.list());

    transfer.putBack(framework.list(), snapshot);

    framework.expectLive(*OLD.configuration, *OLD.list);
    transfer.check();
}

TEST_F(GuardedTransfer, PutBackSkipsAnUnchangedFile)
{
    const CFileSnapshot snapshot(framework.list());
    const FailingCall failing("rename", framework.list(), EIO);

    transfer.putBack(framework.list(), snapshot);

    EXPECT_EQ(failing.failures(), 0);
}

TEST_F(GuardedTransfer, PutBackThrowsForAnEditedFile)
{
    const CFileSnapshot snapshot(framework.list());
    transfer.move(framework.list(".tmp"), framework.list());
    writeFile(framework.list(), "/edited\n");

    expectInterference([&] { transfer.putBack(framework.list(), snapshot); }, otherFiles);

    EXPECT_EQ(readFile(framework.list()), "/edited\n");
}

} // namespace

} // namespace QMT::Test
