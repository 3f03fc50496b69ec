#include "ctl/FrameworkContents.h"

#include "impl/CFrameworkPaths.h"
#include "support/Files.h"
#include "support/TemporaryFramework.h"

#include <Poco/Exception.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace QMT::Test
{

namespace
{

TEST(FrameworkContents, ReadReturnsEveryFile)
{
    const TemporaryFramework framework;
    for (const std::string suffix : {"", ".tmp", ".bak"})
    {
        writeFile(framework.configuration(suffix), "configuration" + suffix);
        writeFile(framework.list(suffix), "list" + suffix);
    }
    writeFile(framework.session(), "session");
    writeFile(framework.lock(), "lock");

    const FrameworkContents contents = readFramework(framework.path());

    EXPECT_EQ(contents.live, (FilePair{"configuration", "list"}));
    EXPECT_EQ(contents.workingCopy, (FilePair{"configuration.tmp", "list.tmp"}));
    EXPECT_EQ(contents.backup, (FilePair{"configuration.bak", "list.bak"}));
    EXPECT_EQ(contents.session, "session");
    EXPECT_EQ(contents.lock, "lock");
}

TEST(FrameworkContents, ReadDistinguishesMissingFromEmptyFiles)
{
    const TemporaryFramework framework;
    std::filesystem::remove(framework.configuration());
    writeFile(framework.lock(), "");

    const FrameworkContents contents = readFramework(framework.path());

    EXPECT_EQ(contents.live, (FilePair{std::nullopt, ""}));
    EXPECT_EQ(contents.backup, FilePair());
    EXPECT_NE(contents.backup, contents.live);
    EXPECT_EQ(contents.session, std::nullopt);
    EXPECT_EQ(contents.lock, "");
}

TEST(FrameworkContents, ReadThrowsForAnUnreadableFile)
{
    const TemporaryFramework framework;
    putDirectoryAt(framework.list(".bak"));

    try
    {
        readFramework(framework.path());
        FAIL();
    }
    catch (const Poco::FileException& exc)
    {
        EXPECT_EQ(exc.message(), "the file cannot be read: " + framework.list(".bak"));
    }
}

TEST(FrameworkContents, BothLiveFilesThrowsForTheMissingOne)
{
    const CFrameworkPaths paths("/qor");
    FrameworkContents contents;
    const auto missing = [&]() -> std::string
    {
        try
        {
            bothLiveFiles(contents, paths);
        }
        catch (const Poco::FileNotFoundException& exc)
        {
            return exc.message();
        }
        return "none";
    };

    EXPECT_EQ(missing(), paths.configuration().live);
    contents.live.configuration = "";
    EXPECT_EQ(missing(), paths.modelFileList().live);
    contents.live.list = "";
    EXPECT_EQ(missing(), "none");
}

} // namespace

} // namespace QMT::Test
