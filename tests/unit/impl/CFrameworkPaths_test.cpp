#include "impl/CFrameworkPaths.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

TEST(FrameworkPaths, ModelDirectoryEndsWithASlash)
{
    EXPECT_EQ(CFrameworkPaths("/qor").modelDirectory(), "/qor/etc/model/");
}

TEST(FrameworkPaths, ConfigurationNamesItsThreeFiles)
{
    const CFrameworkPaths paths("/qor");

    EXPECT_EQ(paths.configuration().live, "/qor/etc/qor.cfg");
    EXPECT_EQ(paths.configuration().workingCopy, "/qor/etc/qor.cfg.tmp");
    EXPECT_EQ(paths.configuration().backup, "/qor/etc/qor.cfg.bak");
}

TEST(FrameworkPaths, ModelFileListNamesItsThreeFiles)
{
    const CFrameworkPaths paths("/qor");

    EXPECT_EQ(paths.modelFileList().live, "/qor/etc/model/model_file_list.cfg");
    EXPECT_EQ(paths.modelFileList().workingCopy, "/qor/etc/model/model_file_list.cfg.tmp");
    EXPECT_EQ(paths.modelFileList().backup, "/qor/etc/model/model_file_list.cfg.bak");
}

TEST(FrameworkPaths, SessionFileAndLockFileAreInTheModelDirectory)
{
    const CFrameworkPaths paths("/qor");

    EXPECT_EQ(paths.sessionFile(), "/qor/etc/model/cmdfifo.dat");
    EXPECT_EQ(paths.lockFile(), "/qor/etc/model/qor_mim_tool.lock");
}

TEST(FrameworkPaths, PathsIgnoreATrailingSlash)
{
    const CFrameworkPaths paths("/qor/");

    EXPECT_EQ(paths.modelDirectory(), "/qor/etc/model/");
    EXPECT_EQ(paths.configuration().live, "/qor/etc/qor.cfg");
    EXPECT_EQ(paths.lockFile(), "/qor/etc/model/qor_mim_tool.lock");
}

TEST(FrameworkPaths, ConfigurationIsRelativeToAnEmptyDirectory)
{
    EXPECT_EQ(CFrameworkPaths("").configuration().live, "etc/qor.cfg");
}

TEST(FrameworkPaths, ModelFileListArgumentAddsItsOwnSlash)
{
    EXPECT_EQ(CFrameworkPaths("/qor").modelFileListArgument(), "/qor/etc/model/model_file_list.cfg");
    EXPECT_EQ(CFrameworkPaths("/qor/").modelFileListArgument(), "/qor//etc/model/model_file_list.cfg");
}

TEST(FrameworkPaths, FixedPathsAreThoseOfTheInstallation)
{
    EXPECT_EQ(CFrameworkPaths::DEFAULT_QOR_PATH, "/opt/qor/");
    EXPECT_EQ(CFrameworkPaths::AGENT, "/opt/qor/qorea/bin/qorea");
    EXPECT_EQ(CFrameworkPaths::environmentFile(), "/opt/qor/qor.env");
    EXPECT_EQ(CFrameworkPaths::validator(), "/opt/qor//bin/pel_model_validator");
}

} // namespace

} // namespace QMT::Test
