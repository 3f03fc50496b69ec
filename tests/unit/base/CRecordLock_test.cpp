#include "base/CRecordLock.h"

#include "support/FailingCall.h"
#include "support/Files.h"
#include "support/LockHolder.h"
#include "support/TemporaryDirectory.h"
#include "support/ThrownBy.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

namespace QMT::Test
{

namespace
{

class RecordLock : public testing::Test
{
protected:
    RecordLock() : like(directory.write("like", "")), path(directory.path("lock"))
    {
        ::chmod(like.c_str(), 0640);
    }

    TemporaryDirectory directory;
    const std::string like;
    const std::string path;
};

TEST_F(RecordLock, ConstructorCreatesTheFileWithAnothersMode)
{
    const CRecordLock lock(path, like);

    EXPECT_EQ(modeOf(path), 0640U);
    EXPECT_EQ(readFile(path), "");
}

TEST_F(RecordLock, ConstructorKeepsAnExistingFile)
{
    writeFile(path, "content");
    ::chmod(path.c_str(), 0600);

    const CRecordLock lock(path, like);

    EXPECT_EQ(modeOf(path), 0600U);
    EXPECT_EQ(readFile(path), "content");
}

TEST_F(RecordLock, TryToTakeSucceedsOnAFreeLock)
{
    CRecordLock lock(path, like);

    EXPECT_TRUE(lock.tryToTake());
    EXPECT_EQ(lock.holder(), 0);
}

TEST_F(RecordLock, TryToTakeFailsWhileAnotherProcessHoldsIt)
{
    const LockHolder other(path);
    CRecordLock lock(path, like);

    EXPECT_FALSE(lock.tryToTake());
    EXPECT_EQ(lock.holder(), other.process());
    EXPECT_EQ(CRecordLock::holderOf(path), other.process());
}

TEST_F(RecordLock, TryToTakeSucceedsAfterTheHolderEnds)
{
    {
        const LockHolder other(path);
    }
    CRecordLock lock(path, like);

    EXPECT_EQ(CRecordLock::holderOf(path), 0);
    EXPECT_TRUE(lock.tryToTake());
}

TEST_F(RecordLock, DestructorReleasesTheLock)
{
    {
        CRecordLock lock(path, like);
        ASSERT_TRUE(lock.tryToTake());
    }
    const LockHolder other(path);
}

TEST_F(RecordLock, HolderOfReadsAFileItMayNotWrite)
{
    // An executable that runs cannot be opened for writing, not even by root.
    EXPECT_EQ(CRecordLock::holderOf(std::filesystem::read_symlink("/proc/self/exe").string()), 0);
}

TEST_F(RecordLock, HolderOfReturnsZeroForAMissingFile)
{
    EXPECT_EQ(CRecordLock::holderOf(path), 0);
    EXPECT_FALSE(exists(path));
}

TEST_F(RecordLock, ConstructorOpensAFileCreatedMeanwhile)
{
    writeFile(path, "content");
    ::chmod(path.c_str(), 0600);
    const FailingCall failing("open", path, ENOENT, 0, 1);

    CRecordLock lock(path, like);

    EXPECT_TRUE(lock.tryToTake());
    EXPECT_EQ(readFile(path), "content");
}

TEST_F(RecordLock, TryToTakeAndHolderThrowWithoutLockSupport)
{
    CRecordLock lock(path, like);
    const FailingCall failing("fcntl", path, ENOLCK);

    EXPECT_EQ(thrownBy([&] { static_cast<void>(lock.tryToTake()); }), "File access error: No locks available: " + path);
    EXPECT_EQ(thrownBy([&] { static_cast<void>(lock.holder()); }), "File access error: No locks available: " + path);
    EXPECT_EQ(thrownBy([&] { static_cast<void>(CRecordLock::holderOf(path)); }),
              "File access error: No locks available: " + path);
}

TEST_F(RecordLock, ConstructorThrowsInAMissingDirectory)
{
    EXPECT_EQ(thrownBy([&] { CRecordLock(directory.path("missing/lock"), like); }),
              "File access error: No such file or directory: " + directory.path("missing/lock"));
}

TEST_F(RecordLock, ConstructorAndHolderOfThrowForASymbolicLink)
{
    std::filesystem::create_symlink(like, path);

    EXPECT_EQ(thrownBy([&] { CRecordLock(path, like); }),
              "File access error: Too many levels of symbolic links: " + path);
    EXPECT_EQ(thrownBy([&] { static_cast<void>(CRecordLock::holderOf(path)); }),
              "File access error: Too many levels of symbolic links: " + path);
}

TEST_F(RecordLock, ConstructorThrowsForADirectory)
{
    putDirectoryAt(path);

    EXPECT_EQ(thrownBy([&] { CRecordLock(path, like); }), "File access error: Is a directory: " + path);
}

} // namespace

} // namespace QMT::Test
