#include "base/WholeFile.h"

#include "support/FailingAllocation.h"
#include "support/FailingCall.h"
#include "support/FileSizeLimit.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"

#include <Poco/Exception.h>
#include <Poco/FileStream.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>

namespace QMT::Test
{

namespace
{

/// The size of the largest file that is read.
const std::uintmax_t LIMIT = 1U << 30;

class WholeFile : public testing::Test
{
protected:
    TemporaryDirectory directory;
    std::string content = "as it was";
};

// ---- readWholeFile ----

TEST_F(WholeFile, ReadsEveryByte)
{
    const std::string bytes("a\0b\r\n\xff", 6);

    EXPECT_EQ(readWholeFile(directory.write("file", bytes), content), ReadResult::READ);

    EXPECT_EQ(content, bytes);
}

TEST_F(WholeFile, ReadsAnEmptyFileAsNothing)
{
    EXPECT_EQ(readWholeFile(directory.write("file", ""), content), ReadResult::READ);

    EXPECT_EQ(content, "");
}

TEST_F(WholeFile, ReadsAFileLargerThanAnyBuffer)
{
    const std::string bytes(300000, 'x');

    EXPECT_EQ(readWholeFile(directory.write("file", bytes), content), ReadResult::READ);

    EXPECT_EQ(content, bytes);
}

TEST_F(WholeFile, LeavesTheContentWhenThereIsNoFile)
{
    EXPECT_EQ(readWholeFile(directory.path("missing"), content), ReadResult::NOT_OPENED);

    EXPECT_EQ(content, "as it was");
}

TEST_F(WholeFile, LeavesTheContentWhenTheFileCannotBeOpened)
{
    putLoopAt(directory.path("loop"));

    EXPECT_EQ(readWholeFile(directory.path("loop"), content), ReadResult::NOT_OPENED);

    EXPECT_EQ(content, "as it was");
}

TEST_F(WholeFile, FailsOnADirectory)
{
    EXPECT_EQ(readWholeFile(directory.path(), content), ReadResult::FAILED);
}

TEST_F(WholeFile, FailsOnAPipe)
{
    putPipeAt(directory.path("pipe"));

    EXPECT_EQ(readWholeFile(directory.path("pipe"), content), ReadResult::FAILED);
}

TEST_F(WholeFile, AsksForNoMemoryForAFileOverTheLimit)
{
    const std::string path = directory.write("sparse", "");
    std::filesystem::resize_file(path, LIMIT + 1);
    const FailingAllocation whateverItsSize(LIMIT);

    EXPECT_EQ(readWholeFile(path, content), ReadResult::FAILED);

    EXPECT_EQ(whateverItsSize.failures(), 0);
}

TEST_F(WholeFile, AsksForMemoryForAFileAtTheLimit)
{
    const std::string path = directory.write("sparse", "");
    std::filesystem::resize_file(path, LIMIT);
    const FailingAllocation whateverItsSize(LIMIT);

    EXPECT_EQ(readWholeFile(path, content), ReadResult::FAILED);

    EXPECT_EQ(whateverItsSize.failures(), 1);
}

TEST_F(WholeFile, FailsOnAFileThatDoesNotFitIntoMemory)
{
    const std::string path = directory.write("file", std::string(300000, 'x'));
    const FailingAllocation outOfMemory(300000);

    EXPECT_EQ(readWholeFile(path, content), ReadResult::FAILED);
}

TEST_F(WholeFile, FailsOnAFileThatCannotBeRead)
{
    const std::string path = directory.write("file", "ab");
    const FailingCall unreadable("read", path, EIO);

    EXPECT_EQ(readWholeFile(path, content), ReadResult::FAILED);
}

TEST_F(WholeFile, FailsOnAFileThatCannotBeReadToItsEnd)
{
    const std::string path = directory.write("file", std::string(300000, 'x'));
    const FailingCall unreadable("read", path, EIO, 1);

    EXPECT_EQ(readWholeFile(path, content), ReadResult::FAILED);
}

TEST_F(WholeFile, FailsOnAFileWithoutASize)
{
    EXPECT_EQ(readWholeFile("/proc/self/mem", content), ReadResult::FAILED);
}

// ---- refusePipe ----

TEST_F(WholeFile, APipeIsRefusedUnderItsName)
{
    const std::string path = directory.path("pipe");
    putPipeAt(path);
    try
    {
        refusePipe(path);
        FAIL();
    }
    catch (const Poco::OpenFileException& exc)
    {
        EXPECT_EQ(exc.message(), path);
    }
}

TEST_F(WholeFile, WhatIsNoPipeIsNotRefused)
{
    EXPECT_NO_THROW(refusePipe(directory.write("file", "a")));
    EXPECT_NO_THROW(refusePipe(directory.path()));
    EXPECT_NO_THROW(refusePipe(directory.path("missing")));
}

// ---- writeWholeFile ----

TEST_F(WholeFile, WritesEveryByte)
{
    const std::string bytes("a\0b\r\n\xff", 6);

    writeWholeFile(directory.path("file"), bytes);

    EXPECT_EQ(readFile(directory.path("file")), bytes);
}

TEST_F(WholeFile, WritingReplacesLongerContent)
{
    const std::string path = directory.write("file", "something longer");

    writeWholeFile(path, "ab");

    EXPECT_EQ(readFile(path), "ab");
}

TEST_F(WholeFile, WritingThroughALinkKeepsTheLink)
{
    directory.write("target", "old");
    std::filesystem::create_symlink(directory.path("target"), directory.path("link"));

    writeWholeFile(directory.path("link"), "new");

    EXPECT_TRUE(std::filesystem::is_symlink(directory.path("link")));
    EXPECT_EQ(readFile(directory.path("target")), "new");
}

TEST_F(WholeFile, WritingWithoutADirectoryThrows)
{
    EXPECT_THROW(writeWholeFile(directory.path("missing/file"), "a"), Poco::FileException);
}

TEST_F(WholeFile, WritingIntoAPipeThrows)
{
    putPipeAt(directory.path("pipe"));

    EXPECT_THROW(writeWholeFile(directory.path("pipe"), "a"), Poco::OpenFileException);
}

TEST_F(WholeFile, WritingOnAFullDeviceThrows)
{
    putFullDeviceAt(directory.path("file"));

    EXPECT_THROW(writeWholeFile(directory.path("file"), "a"), Poco::WriteFileException);
}

TEST_F(WholeFile, WritingMoreThanABufferOnAFullDeviceThrows)
{
    putFullDeviceAt(directory.path("file"));

    EXPECT_THROW(writeWholeFile(directory.path("file"), std::string(300000, 'x')), Poco::WriteFileException);
}

TEST_F(WholeFile, AFailedWriteNamesTheFile)
{
    const std::string path = directory.path("file");
    putFullDeviceAt(path);
    try
    {
        writeWholeFile(path, "a");
        FAIL();
    }
    catch (const Poco::WriteFileException& exc)
    {
        EXPECT_EQ(exc.message(), path);
    }
}

TEST_F(WholeFile, WritingNothingOnAFullDeviceIsNoFailure)
{
    putFullDeviceAt(directory.path("file"));

    EXPECT_NO_THROW(writeWholeFile(directory.path("file"), ""));
}

// ---- closeWritten ----

TEST_F(WholeFile, ClosingBringsTheLastBytesToTheFile)
{
    const std::string path = directory.path("file");
    Poco::FileOutputStream file(path);
    file << "ab";

    closeWritten(file, path);

    EXPECT_EQ(readFile(path), "ab");
}

TEST_F(WholeFile, ClosingTellsOfAWriteThatFailedEarlier)
{
    const std::string path = directory.path("file");
    putFullDeviceAt(path);
    Poco::FileOutputStream file(path);
    file << "ab" << std::endl;

    EXPECT_THROW(closeWritten(file, path), Poco::WriteFileException);
}

TEST_F(WholeFile, ClosingTellsOfADiskThatIsFullOnlyThen)
{
    const std::string path = directory.path("file");
    Poco::FileOutputStream file(path);
    file << "ab";
    const FileSizeLimit fullDisk;

    EXPECT_THROW(closeWritten(file, path), Poco::WriteFileException);
}

TEST_F(WholeFile, ClosingTellsOfADiskThatIsFullWithinTheLastBytes)
{
    const std::string path = directory.path("file");
    Poco::FileOutputStream file(path);
    file << "ab";
    const FileSizeLimit fullDisk(1);

    EXPECT_THROW(closeWritten(file, path), Poco::WriteFileException);
}

} // namespace

} // namespace QMT::Test
