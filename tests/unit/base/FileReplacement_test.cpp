#include "base/FileReplacement.h"

#include "support/FailingCall.h"
#include "support/FileSizeLimit.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"
#include "support/ThrownBy.h"

#include <Poco/Error.h>
#include <Poco/Exception.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>

namespace QMT::Test
{

namespace
{

using Lines = std::vector<std::string>;

class FileReplacement : public testing::Test
{
protected:
    FileReplacement() : path(directory.write("file", "old"))
    {
        ::chmod(path.c_str(), 0640);
    }

    /// `operation` throws the system's error `error` for the file `name`.
    static void expectFailure(const std::function<void()>& operation, int error, const std::string& name)
    {
        try
        {
            operation();
            FAIL();
        }
        catch (const Poco::FileException& exc)
        {
            EXPECT_EQ(exc.code(), error);
            EXPECT_EQ(exc.message(), Poco::Error::getMessage(error) + ": " + name);
        }
    }

    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
        {
            found.push_back(entry.path().filename().string());
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    TemporaryDirectory directory;
    const std::string path;
};

TEST_F(FileReplacement, ReplaceWritesTheContentAndKeepsTheMode)
{
    EXPECT_EQ(replaceFile(path, "new", path), Lines());

    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(modeOf(path), 0640U);
    EXPECT_EQ(names(), Lines({"file"}));
}

TEST_F(FileReplacement, ReplaceCreatesAMissingFileWithAnothersMode)
{
    const std::string other = directory.path("other");

    EXPECT_EQ(replaceFile(other, "new", path), Lines());

    EXPECT_EQ(readFile(other), "new");
    EXPECT_EQ(modeOf(other), 0640U);
}

TEST_F(FileReplacement, ReplaceUsesMode0600WhenLikeIsMissing)
{
    replaceFile(directory.path("other"), "", directory.path("missing"));

    EXPECT_EQ(modeOf(directory.path("other")), 0600U);
}

TEST_F(FileReplacement, ReplaceFollowsALink)
{
    const std::string link = directory.path("link");
    std::filesystem::create_symlink(path, link);

    replaceFile(link, "new", link);

    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(readFile(path), "new");
}

TEST_F(FileReplacement, ReplaceOverwritesTheRestOfAnInterruptedCall)
{
    directory.write("file.replacement", "something longer");

    replaceFile(path, "new", path);

    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(names(), Lines({"file"}));
}

TEST_F(FileReplacement, ReplaceReturnsAModeThatCannotBeSet)
{
    const FailingCall failing("fchmod", path + ".replacement", EPERM);

    EXPECT_EQ(replaceFile(path, "new", path), Lines({"the mode of " + path + " could not be kept"}));
}

TEST_F(FileReplacement, ReplaceKeepsTheFileOnAFullDisk)
{
    {
        const FileSizeLimit limit;
        expectFailure([this] { replaceFile(path, "new", path); }, EFBIG, path);
    }
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(names(), Lines({"file"}));
}

TEST_F(FileReplacement, ReplaceResumesAnInterruptedOrShortWrite)
{
    for (const int error : {EINTR, 0})
    {
        const FailingCall failing("write", path + ".replacement", error, 0, 2);

        EXPECT_EQ(replaceFile(path, "something longer", path), Lines());

        EXPECT_EQ(failing.failures(), 2);
        EXPECT_EQ(readFile(path), "something longer");
    }
}

TEST_F(FileReplacement, ReplaceKeepsTheFileWhenFsyncOrCloseFails)
{
    const std::ptrdiff_t before = openFileCount();
    for (const std::string call : {"fsync", "close"})
    {
        const FailingCall failing(call, path + ".replacement", EIO);

        expectFailure([this] { replaceFile(path, "new", path); }, EIO, path);

        EXPECT_EQ(readFile(path), "old");
        EXPECT_EQ(names(), Lines({"file"}));
        EXPECT_EQ(openFileCount(), before);
    }
}

TEST_F(FileReplacement, ReplaceSucceedsWhereFsyncIsUnsupported)
{
    const FailingCall failing("fsync", path + ".replacement", EINVAL);

    replaceFile(path, "new", path);

    EXPECT_EQ(readFile(path), "new");
}

TEST_F(FileReplacement, ReplaceKeepsTheFileWhenRenameFails)
{
    const FailingCall failing("rename", path, EACCES);

    expectFailure([this] { replaceFile(path, "new", path); }, EACCES, path);

    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(names(), Lines({"file"}));
}

TEST_F(FileReplacement, ReplaceSyncsTheDirectory)
{
    const FailingCall failing("fsync", directory.path(), EIO);

    EXPECT_EQ(thrownBy([&] { replaceFile(path, "new", path); }), "Cannot write file: " + directory.path() + "/");

    EXPECT_EQ(readFile(path), "new");
}

TEST_F(FileReplacement, CreateMakesAFileUnlessItExists)
{
    expectFailure([this] { createFile(path, "new", path); }, EEXIST, path);

    EXPECT_EQ(createFile(directory.path("other"), "new", path), Lines());

    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(readFile(directory.path("other")), "new");
    EXPECT_EQ(modeOf(directory.path("other")), 0640U);
}

TEST_F(FileReplacement, CreateRemovesAFileItCannotComplete)
{
    {
        const FileSizeLimit limit(2);
        expectFailure([this] { createFile(directory.path("other"), "new", path); }, EFBIG, directory.path("other"));
    }
    EXPECT_EQ(names(), Lines({"file"}));
}

TEST_F(FileReplacement, RemoveDeletesTheFile)
{
    removeFile(path);

    EXPECT_EQ(names(), Lines());
}

TEST_F(FileReplacement, RemoveSucceedsForAMissingFile)
{
    removeFile(directory.path("missing"));

    EXPECT_EQ(names(), Lines({"file"}));
}

TEST_F(FileReplacement, RemoveThrowsWhenUnlinkFails)
{
    const FailingCall failing("unlink", path, EPERM);

    expectFailure([this] { removeFile(path); }, EPERM, path);
}

TEST_F(FileReplacement, RemoveSyncsTheDirectory)
{
    const FailingCall failing("fsync", directory.path(), EIO);

    EXPECT_EQ(thrownBy([&] { removeFile(path); }), "Cannot write file: " + directory.path() + "/");
}

} // namespace

} // namespace QMT::Test
