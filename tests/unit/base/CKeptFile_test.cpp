#include "base/CKeptFile.h"

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

class KeptFile : public testing::Test
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

TEST_F(KeptFile, PutBackRestoresContentModeAndTimes)
{
    writeFile(path, "as it was");
    std::filesystem::permissions(path, std::filesystem::perms(0604));
    setModificationTime(path, 1000);
    const CKeptFile kept(path);
    std::filesystem::remove(path);
    writeFile(path, "another");

    EXPECT_TRUE(kept.putBack().empty());

    EXPECT_EQ(kept.content(), "as it was");
    EXPECT_EQ(readFile(path), "as it was");
    EXPECT_EQ(status().st_mode & 07777U, 0604U);
    EXPECT_EQ(status().st_mtime, 1000);
}

TEST_F(KeptFile, PutBackRecreatesARemovedFileWithItsMode)
{
    writeFile(path, "as it was");
    std::filesystem::permissions(path, std::filesystem::perms(0640));
    const CKeptFile kept(path);
    std::filesystem::remove(path);

    EXPECT_TRUE(kept.putBack().empty());

    EXPECT_EQ(readFile(path), "as it was");
    EXPECT_EQ(status().st_mode & 07777U, 0640U);
}

TEST_F(KeptFile, PutBackRemovesAFileThatWasMissing)
{
    const CKeptFile kept(path);
    writeFile(path, "new");

    EXPECT_TRUE(kept.putBack().empty());

    EXPECT_EQ(kept.content(), std::nullopt);
    EXPECT_FALSE(exists(path));
}

TEST_F(KeptFile, PutBackLeavesAFileThatIsInPlace)
{
    writeFile(path, "as it was");
    const CKeptFile kept(path);
    const struct stat before = status();
    const FailingCall failing("rename", path, EPERM);

    EXPECT_TRUE(kept.putBack().empty());

    EXPECT_EQ(status().st_ino, before.st_ino);
    EXPECT_EQ(readFile(path), "as it was");
}

TEST_F(KeptFile, FreeRoomEmptiesARemovedFile)
{
    writeFile(path, "as it was");
    std::filesystem::permissions(path, std::filesystem::perms(0640));
    const CKeptFile kept(path);
    std::ifstream removed(path);
    std::filesystem::remove(path);

    kept.freeRoom();

    EXPECT_EQ(removed.seekg(0, std::ios::end).tellg(), 0);
    EXPECT_TRUE(kept.putBack().empty());
    EXPECT_EQ(readFile(path), "as it was");
    EXPECT_EQ(status().st_mode & 07777U, 0640U);
}

TEST_F(KeptFile, FreeRoomLeavesAFileThatHasAName)
{
    const std::string other = directory.path("other");
    writeFile(path, "as it was");
    std::filesystem::create_hard_link(path, other);
    const CKeptFile kept(path);
    std::filesystem::remove(path);

    kept.freeRoom();

    EXPECT_EQ(readFile(other), "as it was");
}

TEST_F(KeptFile, FreeRoomDoesNothingForAMissingFile)
{
    const CKeptFile kept(path);

    kept.freeRoom();

    EXPECT_FALSE(exists(path));
}

TEST_F(KeptFile, IsInPlaceIsFalseForAReplacedOrChangedFile)
{
    writeFile(path, "as it was");
    const CKeptFile kept(path);
    EXPECT_TRUE(kept.isInPlace());

    writeFile(path, "changed");
    EXPECT_FALSE(kept.isInPlace());

    writeFile(directory.path("other"), "as it was");
    std::filesystem::rename(directory.path("other"), path);
    EXPECT_FALSE(kept.isInPlace());
}

TEST_F(KeptFile, IsInPlaceIsFalseOnceAMissingFileExists)
{
    const CKeptFile kept(path);
    EXPECT_TRUE(kept.isInPlace());

    writeFile(path, "new");
    EXPECT_FALSE(kept.isInPlace());
}

TEST_F(KeptFile, ConstructorThrowsForADirectoryOrPipe)
{
    const std::ptrdiff_t before = openFileCount();
    putDirectoryAt(path);
    EXPECT_EQ(thrownBy([&] { CKeptFile{path}; }), "File access error: " + path);

    std::filesystem::remove(path);
    putPipeAt(path);
    EXPECT_EQ(thrownBy([&] { CKeptFile{path}; }), "File access error: " + path);
    EXPECT_EQ(openFileCount(), before);
}

TEST_F(KeptFile, DestructorClosesTheFile)
{
    writeFile(path, "");
    const std::ptrdiff_t before = openFileCount();

    {
        const CKeptFile kept(path);
    }

    EXPECT_EQ(openFileCount(), before);
}

TEST_F(KeptFile, PutBackReturnsAModeThatCannotBeSet)
{
    writeFile(path, "as it was");
    const CKeptFile kept(path);
    std::filesystem::remove(path);
    const FailingCall failing("fchmod", path + ".replacement", EPERM);

    EXPECT_EQ(kept.putBack(), std::vector<std::string>{"the mode of " + path + " could not be kept"});
}

} // namespace

} // namespace QMT::Test
