#include "base/CFileSnapshot.h"

#include "support/FailingCall.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"
#include "support/ThrownBy.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace QMT::Test
{

namespace
{

class FileSnapshot : public testing::Test
{
protected:
    struct stat status() const
    {
        struct stat found = {};
        EXPECT_EQ(::stat(path.c_str(), &found), 0);
        return found;
    }

    TemporaryDirectory directory;
    const std::string path = directory.path("file");
};

TEST_F(FileSnapshot, RestoreSetsContentModeAndTimes)
{
    writeFile(path, "as it was");
    std::filesystem::permissions(path, std::filesystem::perms(0604));
    setModificationTime(path, 1000);
    const CFileSnapshot snapshot(path);
    std::filesystem::remove(path);
    writeFile(path, "another");

    EXPECT_TRUE(snapshot.restore().empty());

    EXPECT_EQ(snapshot.content(), "as it was");
    EXPECT_EQ(readFile(path), "as it was");
    EXPECT_EQ(status().st_mode & 07777U, 0604U);
    EXPECT_EQ(status().st_mtime, 1000);
}

TEST_F(FileSnapshot, RestoreRecreatesARemovedFileWithItsMode)
{
    writeFile(path, "as it was");
    std::filesystem::permissions(path, std::filesystem::perms(0640));
    const CFileSnapshot snapshot(path);
    std::filesystem::remove(path);

    EXPECT_TRUE(snapshot.restore().empty());

    EXPECT_EQ(readFile(path), "as it was");
    EXPECT_EQ(status().st_mode & 07777U, 0640U);
}

TEST_F(FileSnapshot, RestoreRemovesAFileThatWasMissing)
{
    const CFileSnapshot snapshot(path);
    writeFile(path, "new");

    EXPECT_TRUE(snapshot.restore().empty());

    EXPECT_EQ(snapshot.content(), std::nullopt);
    EXPECT_FALSE(exists(path));
}

TEST_F(FileSnapshot, RestoreLeavesAFileThatIsUnchanged)
{
    writeFile(path, "as it was");
    const CFileSnapshot snapshot(path);
    const struct stat before = status();
    const FailingCall failing("rename", path, EPERM);

    EXPECT_TRUE(snapshot.restore().empty());

    EXPECT_EQ(status().st_ino, before.st_ino);
    EXPECT_EQ(readFile(path), "as it was");
}

TEST_F(FileSnapshot, FreeSpaceEmptiesARemovedFile)
{
    writeFile(path, "as it was");
    std::filesystem::permissions(path, std::filesystem::perms(0640));
    const CFileSnapshot snapshot(path);
    std::ifstream removed(path);
    std::filesystem::remove(path);

    snapshot.freeSpace();

    EXPECT_EQ(removed.seekg(0, std::ios::end).tellg(), 0);
    EXPECT_TRUE(snapshot.restore().empty());
    EXPECT_EQ(readFile(path), "as it was");
    EXPECT_EQ(status().st_mode & 07777U, 0640U);
}

TEST_F(FileSnapshot, FreeSpaceLeavesAFileThatHasAName)
{
    const std::string other = directory.path("other");
    writeFile(path, "as it was");
    std::filesystem::create_hard_link(path, other);
    const CFileSnapshot snapshot(path);
    std::filesystem::remove(path);

    snapshot.freeSpace();

    EXPECT_EQ(readFile(other), "as it was");
}

TEST_F(FileSnapshot, FreeSpaceDoesNothingForAMissingFile)
{
    const CFileSnapshot snapshot(path);

    snapshot.freeSpace();

    EXPECT_FALSE(exists(path));
}

TEST_F(FileSnapshot, IsUnchangedIsFalseForAReplacedOrChangedFile)
{
    writeFile(path, "as it was");
    const CFileSnapshot snapshot(path);
    EXPECT_TRUE(snapshot.isUnchanged());

    writeFile(path, "changed");
    EXPECT_FALSE(snapshot.isUnchanged());

    writeFile(directory.path("other"), "as it was");
    std::filesystem::rename(directory.path("other"), path);
    EXPECT_FALSE(snapshot.isUnchanged());
}

TEST_F(FileSnapshot, IsUnchangedIsFalseOnceAMissingFileExists)
{
    const CFileSnapshot snapshot(path);
    EXPECT_TRUE(snapshot.isUnchanged());

    writeFile(path, "new");
    EXPECT_FALSE(snapshot.isUnchanged());
}

TEST_F(FileSnapshot, ConstructorThrowsForADirectoryOrPipe)
{
    const std::ptrdiff_t before = openFileCount();
    putDirectoryAt(path);
    EXPECT_EQ(thrownBy([&] { CFileSnapshot{path}; }), "File access error: " + path);

    std::filesystem::remove(path);
    putPipeAt(path);
    EXPECT_EQ(thrownBy([&] { CFileSnapshot{path}; }), "File access error: " + path);
    EXPECT_EQ(openFileCount(), before);
}

TEST_F(FileSnapshot, DestructorClosesTheFile)
{
    writeFile(path, "");
    const std::ptrdiff_t before = openFileCount();

    {
        const CFileSnapshot snapshot(path);
    }

    EXPECT_EQ(openFileCount(), before);
}

TEST_F(FileSnapshot, RestoreReturnsAModeThatCannotBeSet)
{
    writeFile(path, "as it was");
    const CFileSnapshot snapshot(path);
    std::filesystem::remove(path);
    const FailingCall failing("fchmod", path + ".replacement", EPERM);

    EXPECT_EQ(snapshot.restore(), std::vector<std::string>{"the mode of " + path + " could not be kept"});
}

} // namespace

} // namespace QMT::Test
