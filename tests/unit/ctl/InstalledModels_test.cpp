#include "ctl/InstalledModels.h"

#include "support/FailingCall.h"
#include "support/Files.h"
#include "support/TemporaryFramework.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace QMT::Test
{

namespace
{

ModelState stateOf(const std::string& line)
{
    return readInstalledModels(line + "\n").at(0).state;
}

TEST(InstalledModels, ReadFollowsTheList)
{
    const TemporaryFramework framework;
    const std::string pump = framework.model("pump.xml", "Pump");
    const std::string valve = framework.model("valve.xml", "Valve");

    const std::vector<InstalledModel> models = readInstalledModels(valve + "\n\n \t\n  " + pump + " \r\n" + valve);

    ASSERT_EQ(models.size(), 3U);
    EXPECT_EQ(models[0].file, valve);
    EXPECT_EQ(models[0].state, ModelState::READ);
    EXPECT_EQ(models[0].rootClass, "Valve");
    EXPECT_EQ(models[1].file, pump);
    EXPECT_EQ(models[1].rootClass, "Pump");
    EXPECT_EQ(models[2].file, valve);
    EXPECT_EQ(models[2].state, ModelState::READ);
    EXPECT_EQ(models[2].rootClass, "Valve");
}

TEST(InstalledModels, ReadReturnsNothingForAnEmptyList)
{
    EXPECT_TRUE(readInstalledModels("").empty());
}

TEST(InstalledModels, ReadReportsWhyThereIsNoRootClass)
{
    const TemporaryFramework framework;
    const std::string directory = framework.file("directory.xml", "");
    putDirectoryAt(directory);
    const std::string pipe = framework.file("pipe.xml", "");
    putPipeAt(pipe);

    EXPECT_EQ(stateOf(framework.file("rootless.xml", "<m><class name='C'/></m>")), ModelState::ROOTLESS);
    EXPECT_EQ(stateOf(framework.file("nameless.xml", "<m><class><root/></class></m>")), ModelState::NAMELESS);
    EXPECT_EQ(stateOf(framework.file("malformed.xml", "<m>")), ModelState::MALFORMED);
    EXPECT_EQ(stateOf(directory), ModelState::UNREADABLE);
    EXPECT_EQ(stateOf(pipe), ModelState::UNREADABLE);
    EXPECT_EQ(stateOf("/nonexistent/model.xml"), ModelState::MISSING);
}

TEST(InstalledModels, ReadReturnsNoRootClassWithoutAName)
{
    const TemporaryFramework framework;

    EXPECT_EQ(readInstalledModels(framework.file("nameless.xml", "<m name='M'><c><root/></c></m>")).at(0).rootClass,
              "");
}

TEST(InstalledModels, ReadDoesNotOpenARelativePath)
{
    EXPECT_EQ(stateOf("models/pump.xml"), ModelState::RELATIVE);
}

TEST(InstalledModels, ReadTreatsAPathWithNulAsMissing)
{
    const TemporaryFramework framework;
    const std::string pump = framework.model("pump.xml", "Pump");

    EXPECT_EQ(stateOf(pump + std::string("\0.old", 5)), ModelState::MISSING);
}

TEST(InstalledModels, ReadOpensAFileListedTwiceOnce)
{
    const TemporaryFramework framework;
    const std::string pump = framework.model("pump.xml", "Pump");
    const FailingCall call("fopen", pump, EACCES);

    const std::vector<InstalledModel> models = readInstalledModels(pump + "\n" + pump + "\n");

    ASSERT_EQ(models.size(), 2U);
    EXPECT_EQ(models[1].state, ModelState::UNREADABLE);
    EXPECT_EQ(call.failures(), 1);
}

} // namespace

} // namespace QMT::Test
