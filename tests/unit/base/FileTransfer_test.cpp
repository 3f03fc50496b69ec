#include "base/FileTransfer.h"

#include "support/Files.h"
#include "support/TemporaryDirectory.h"

#include <Poco/Exception.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

namespace QMT::Test
{

namespace
{

class FileTransfer : public testing::Test
{
protected:
    FileTransfer() : from(directory.write("from", "content")), to(directory.path("to"))
    {
    }

    void expectRefused(const std::function<void()>& transfer) const
    {
        try
        {
            transfer();
            FAIL();
        }
        catch (const Poco::FileException& exc)
        {
            EXPECT_EQ(exc.message(), "The file would replace itself: " + to);
        }
        EXPECT_EQ(readFile(from), "content");
    }

    TemporaryDirectory directory;
    const std::string from;
    const std::string to;
};

TEST_F(FileTransfer, CopiesAFile)
{
    copyFile(from, to);

    EXPECT_EQ(readFile(to), "content");
    EXPECT_EQ(readFile(from), "content");
}

TEST_F(FileTransfer, CopiesOverALongerFile)
{
    writeFile(to, "something longer");

    copyFile(from, to);

    EXPECT_EQ(readFile(to), "content");
}

TEST_F(FileTransfer, CopiesOverAnotherFileOfTheSameContent)
{
    writeFile(to, "content");

    copyFile(from, to);

    EXPECT_EQ(readFile(to), "content");
}

TEST_F(FileTransfer, MovesAFile)
{
    moveFile(from, to);

    EXPECT_EQ(readFile(to), "content");
    EXPECT_FALSE(exists(from));
}

TEST_F(FileTransfer, MovesOverALongerFile)
{
    writeFile(to, "something longer");

    moveFile(from, to);

    EXPECT_EQ(readFile(to), "content");
    EXPECT_FALSE(exists(from));
}

TEST_F(FileTransfer, CopiesIntoADirectoryUnderTheOldName)
{
    putDirectoryAt(to);

    copyFile(from, to);

    EXPECT_EQ(readFile(to + "/from"), "content");
}

TEST_F(FileTransfer, RefusesASymbolicLinkToTheFile)
{
    std::filesystem::create_symlink(from, to);

    expectRefused([this] { copyFile(from, to); });
    expectRefused([this] { moveFile(from, to); });
}

TEST_F(FileTransfer, RefusesAHardLinkToTheFile)
{
    std::filesystem::create_hard_link(from, to);

    expectRefused([this] { copyFile(from, to); });
    expectRefused([this] { moveFile(from, to); });
}

TEST_F(FileTransfer, RefusesALinkToTheFilesDirectory)
{
    std::filesystem::create_symlink(directory.path(), to);

    expectRefused([this] { copyFile(from, to); });
    expectRefused([this] { moveFile(from, to); });
}

TEST_F(FileTransfer, RefusesAPipeAsSource)
{
    putPipeAt(from);

    EXPECT_THROW(copyFile(from, to), Poco::OpenFileException);
    EXPECT_THROW(moveFile(from, to), Poco::OpenFileException);

    EXPECT_FALSE(exists(to));
}

TEST_F(FileTransfer, RefusesAPipeAsTarget)
{
    putPipeAt(to);

    EXPECT_THROW(copyFile(from, to), Poco::OpenFileException);
    EXPECT_THROW(moveFile(from, to), Poco::OpenFileException);

    EXPECT_EQ(readFile(from), "content");
}

TEST_F(FileTransfer, ThrowsForAMissingSource)
{
    EXPECT_THROW(copyFile(directory.path("missing"), to), Poco::FileException);
    EXPECT_THROW(moveFile(directory.path("missing"), to), Poco::FileException);
}

} // namespace

} // namespace QMT::Test
