#include "base/DiskSync.h"

#include "support/FailingCall.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"
#include "support/ThrownBy.h"

#include <Poco/Exception.h>

#include <gtest/gtest.h>

#include <cerrno>

namespace QMT::Test
{

namespace
{

class DiskSync : public testing::Test
{
protected:
    DiskSync() : path(directory.write("file", "content"))
    {
    }

    TemporaryDirectory directory;
    const std::string path;
};

TEST_F(DiskSync, SyncFileThrowsWhenFsyncFails)
{
    const FailingCall failing("fsync", path, EIO);
    try
    {
        syncFile(path);
        FAIL();
    }
    catch (const Poco::WriteFileException& exc)
    {
        EXPECT_EQ(exc.message(), path);
    }
}

TEST_F(DiskSync, SyncFileClosesTheFile)
{
    const std::ptrdiff_t before = openFileCount();

    syncFile(path);

    EXPECT_EQ(openFileCount(), before);
}

TEST_F(DiskSync, SyncFileThrowsWhenOpenFails)
{
    const FailingCall failing("open", path, EMFILE);

    EXPECT_EQ(thrownBy([&] { syncFile(path); }), "Cannot write file: " + path);
}

TEST_F(DiskSync, SyncFileSucceedsWhereFsyncIsUnsupported)
{
    const FailingCall failing("fsync", path, EINVAL);

    EXPECT_NO_THROW(syncFile(path));
    EXPECT_EQ(failing.failures(), 1);
}

TEST_F(DiskSync, SyncFileSkipsAMissingOrForbiddenFile)
{
    EXPECT_NO_THROW(syncFile(directory.path("missing")));
    EXPECT_NO_THROW(syncFile(path + "/no-directory"));

    const FailingCall failing("open", path, EACCES);
    EXPECT_NO_THROW(syncFile(path));
}

TEST_F(DiskSync, SyncFileDoesNotBlockOnAPipe)
{
    const std::string pipe = directory.path("pipe");
    putPipeAt(pipe);

    EXPECT_NO_THROW(syncFile(pipe));
}

TEST_F(DiskSync, SyncDirectoryThrowsWhenFsyncFails)
{
    const FailingCall failing("fsync", directory.path(), EIO);

    EXPECT_NO_THROW(syncFile(path));
    EXPECT_EQ(thrownBy([&] { syncDirectoryOf(path); }), "Cannot write file: " + directory.path() + "/");
}

TEST_F(DiskSync, SyncDirectoryRunsForAMissingFile)
{
    const FailingCall failing("fsync", directory.path(), EIO);

    EXPECT_EQ(thrownBy([&] { syncDirectoryOf(directory.path("missing")); }),
              "Cannot write file: " + directory.path() + "/");
}

} // namespace

} // namespace QMT::Test
