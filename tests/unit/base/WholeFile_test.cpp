#include "base/WholeFile.h"

#include "support/FailingAllocation.h"
#include "support/FailingCall.h"
#include "support/FileSizeLimit.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>

namespace QMT::Test
{

namespace
{

/// The size of the largest file that is read.
const std::size_t LIMIT = std::min<std::size_t>(1U << 30U, std::string().max_size());

class WholeFile : public testing::Test
{
protected:
    TemporaryDirectory directory;
    std::string content = "as it was";
};

// ---- readWholeFile ----

TEST_F(WholeFile, ReadTakesEveryByte)
{
    const std::string bytes("a\0b\r\n\xff", 6);

    EXPECT_EQ(readWholeFile(directory.write("file", bytes), content), ReadResult::READ);

    EXPECT_EQ(content, bytes);
}

TEST_F(WholeFile, ReadGivesNothingForAnEmptyFile)
{
    EXPECT_EQ(readWholeFile(directory.write("file", ""), content), ReadResult::READ);

    EXPECT_EQ(content, "");
}

TEST_F(WholeFile, ReadTakesAFileLargerThanAnyBuffer)
{
    const std::string bytes(300000, 'x');

    EXPECT_EQ(readWholeFile(directory.write("file", bytes), content), ReadResult::READ);

    EXPECT_EQ(content, bytes);
}

TEST_F(WholeFile, ReadLeavesTheContentWhenThereIsNoFile)
{
    EXPECT_EQ(readWholeFile(directory.path("missing"), content), ReadResult::MISSING);

    EXPECT_EQ(content, "as it was");
}

TEST_F(WholeFile, ReadLeavesTheContentWhenTheFileCannotBeOpened)
{
    const std::string path = directory.write("file", "ab");
    const FailingCall refused("fopen", path, EACCES);

    EXPECT_EQ(readWholeFile(path, content), ReadResult::NOT_OPENED);

    EXPECT_EQ(content, "as it was");
}

TEST_F(WholeFile, ReadFailsOnADirectory)
{
    EXPECT_EQ(readWholeFile(directory.path(), content), ReadResult::FAILED);
}

TEST_F(WholeFile, ReadFailsOnAPipe)
{
    putPipeAt(directory.path("pipe"));

    EXPECT_EQ(readWholeFile(directory.path("pipe"), content), ReadResult::FAILED);
}

TEST_F(WholeFile, ReadAllocatesNothingForAFileOverTheLimit)
{
    const std::string path = directory.write("sparse", "");
    std::filesystem::resize_file(path, LIMIT + 1);
    const FailingAllocation whateverItsSize(LIMIT);

    EXPECT_EQ(readWholeFile(path, content), ReadResult::FAILED);

    EXPECT_EQ(whateverItsSize.failures(), 0);
}

TEST_F(WholeFile, ReadAllocatesForAFileAtTheLimit)
{
    const std::string path = directory.write("sparse", "");
    std::filesystem::resize_file(path, LIMIT);
    const FailingAllocation whateverItsSize(LIMIT);

    EXPECT_EQ(readWholeFile(path, content), ReadResult::FAILED);

    EXPECT_EQ(whateverItsSize.failures(), 1);
}

TEST_F(WholeFile, ReadFailsOnAFileThatDoesNotFitIntoMemory)
{
    const std::string path = directory.write("file", std::string(300000, 'x'));
    const FailingAllocation outOfMemory(300000);

    EXPECT_EQ(readWholeFile(path, content), ReadResult::FAILED);
}

TEST_F(WholeFile, ReadFailsOnAFileThatCannotBeRead)
{
    const std::string path = directory.write("file", "ab");
    const FailingCall unreadable("read", path, EIO);

    EXPECT_EQ(readWholeFile(path, content), ReadResult::FAILED);
}

TEST_F(WholeFile, ReadFailsOnAFileThatCannotBeReadToItsEnd)
{
    const std::string path = directory.write("file", std::string(300000, 'x'));
    const FailingCall unreadable("read", path, EIO, 1);

    EXPECT_EQ(readWholeFile(path, content), ReadResult::FAILED);
}

TEST_F(WholeFile, ReadFailsOnAFileWithoutASize)
{
    EXPECT_EQ(readWholeFile("/proc/self/mem", content), ReadResult::FAILED);
}

// ---- openForReading ----

TEST_F(WholeFile, OpenGivesTheFile)
{
    std::ifstream file;

    EXPECT_TRUE(openForReading(directory.write("file", "word more"), file));

    file >> content;
    EXPECT_EQ(content, "word");
}

TEST_F(WholeFile, OpenFailsOnAMissingFile)
{
    std::ifstream file;

    EXPECT_FALSE(openForReading(directory.path("missing"), file));
}

TEST_F(WholeFile, OpenFailsOnAPipe)
{
    putPipeAt(directory.path("pipe"));
    std::ifstream file;

    EXPECT_FALSE(openForReading(directory.path("pipe"), file));
}

// ---- writeWholeFile ----

TEST_F(WholeFile, WriteStoresEveryByte)
{
    const std::string bytes("a\0b\r\n\xff", 6);

    EXPECT_TRUE(writeWholeFile(directory.path("file"), bytes));

    EXPECT_EQ(readFile(directory.path("file")), bytes);
}

TEST_F(WholeFile, WriteReplacesLongerContent)
{
    const std::string path = directory.write("file", "something longer");

    EXPECT_TRUE(writeWholeFile(path, "ab"));

    EXPECT_EQ(readFile(path), "ab");
}

TEST_F(WholeFile, WriteThroughALinkKeepsTheLink)
{
    directory.write("target", "old");
    std::filesystem::create_symlink(directory.path("target"), directory.path("link"));

    EXPECT_TRUE(writeWholeFile(directory.path("link"), "new"));

    EXPECT_TRUE(std::filesystem::is_symlink(directory.path("link")));
    EXPECT_EQ(readFile(directory.path("target")), "new");
}

TEST_F(WholeFile, WriteFailsWithoutADirectory)
{
    EXPECT_FALSE(writeWholeFile(directory.path("missing/file"), "a"));
}

TEST_F(WholeFile, WriteFailsOnAPipe)
{
    putPipeAt(directory.path("pipe"));

    EXPECT_FALSE(writeWholeFile(directory.path("pipe"), "a"));
}

TEST_F(WholeFile, WriteFailsOnAFullDevice)
{
    putFullDeviceAt(directory.path("file"));

    EXPECT_FALSE(writeWholeFile(directory.path("file"), "a"));
}

TEST_F(WholeFile, WriteFailsOnAFullDeviceAfterTheFirstBuffer)
{
    putFullDeviceAt(directory.path("file"));

    EXPECT_FALSE(writeWholeFile(directory.path("file"), std::string(300000, 'x')));
}

TEST_F(WholeFile, WriteFailsWhenTheDiskIsFullWithinTheLastBytes)
{
    const FileSizeLimit fullDisk(1);

    EXPECT_FALSE(writeWholeFile(directory.path("file"), "ab"));
}

TEST_F(WholeFile, WriteOfNothingSucceedsOnAFullDevice)
{
    putFullDeviceAt(directory.path("file"));

    EXPECT_TRUE(writeWholeFile(directory.path("file"), ""));
}

} // namespace

} // namespace QMT::Test
