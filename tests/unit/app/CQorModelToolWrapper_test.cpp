#include "app/CQorModelToolWrapper.h"

#include "support/ToolTest.h"

#include <cstdlib>

namespace QMT::Test
{

namespace
{

const std::string FIRST_HELP_LINE = "usage: qor_mim_tool [-] [--] OPTIONS\n";

class Application : public ToolTest
{
};

TEST_F(Application, PrintsHelpAndRunsTheDriverWithoutAnyOption)
{
    const ToolRun run = runTool({});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output.substr(0, FIRST_HELP_LINE.size()), FIRST_HELP_LINE);
    EXPECT_EQ(run.log, info({COMPLETED}));
    EXPECT_EQ(run.systemLog, Messages());
}

TEST_F(Application, PrintsHelpAndRunsTheDriverWhenAskedForHelp)
{
    const ToolRun run = runTool({"--help"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output.substr(0, FIRST_HELP_LINE.size()), FIRST_HELP_LINE);
    EXPECT_EQ(run.log, info({COMPLETED}));
}

TEST_F(Application, PrintsHelpAndCommitsWhenAskedForBoth)
{
    givenSession("2:/nonexistent/model.xml\n");

    const ToolRun run = runTool({"--help", "--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output.substr(0, FIRST_HELP_LINE.size()), FIRST_HELP_LINE);
    EXPECT_EQ(run.log, info({"Unable to find model file, skipping removal.", COMPLETED}));
    EXPECT_FALSE(exists(framework.lock()));
}

TEST_F(Application, PrintsNoHelpWhenAnotherOptionIsGiven)
{
    const ToolRun run = runTool({"--status"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.log, info({"There are no pending actions.", COMPLETED}));
}

TEST_F(Application, EndsWithTheStatusOfTheDriver)
{
    givenSession("0:/nonexistent/model.xml\n");

    EXPECT_EQ(runTool({"--commit"}).status, -1);
}

TEST_F(Application, EndsWithStatus70WhenTheDriverThrows)
{
    givenSession("0:/nonexistent/model.xml\n");
    putLoopAt(framework.configuration(".bak"));

    const ToolRun run = runTool({"--commit"});

    EXPECT_EQ(run.status, 70);
    EXPECT_EQ(run.frameworkLog,
              "File access error: Too many levels of symbolic links: " + framework.configuration(".bak") + "\n");
    EXPECT_EQ(run.log, Messages());
}

TEST_F(Application, EndsWithStatus78WhenAValueIsMissing)
{
    const ToolRun run = runTool({"--removeModelFile"});

    EXPECT_EQ(run.status, 78);
    EXPECT_EQ(run.log, Messages());
    EXPECT_FALSE(exists(framework.lock()));
    EXPECT_FALSE(exists(framework.session()));
}

TEST_F(Application, EndsWithStatus78AtAnUnknownOption)
{
    const ToolRun run = runTool({"--unknown", "--status"});

    EXPECT_EQ(run.status, 78);
    EXPECT_EQ(run.log, Messages());
}

TEST_F(Application, HandlesOptionsInCommandLineOrder)
{
    const ToolRun run = runTool({"--status", "-o2", "-s"});

    EXPECT_EQ(run.status, 78);
    EXPECT_EQ(run.log, info({"There are no pending actions.", "handleManagedObjectVersion: 2"}));
}

TEST_F(Application, RunsWithoutAnEditorInAnInvalidEnvironment)
{
    ::setenv("QORPATH", framework.file("file", "").c_str(), 1);

    const ToolRun run = runTool({"--status"});

    const std::string reason = "not a directory: " + framework.path() + "/models/file/etc";
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, (Messages{{6, "There are no pending actions."},
                                 {4, "Unable to create directory structure: " + reason},
                                 {4, "Invaild environment, exiting."},
                                 {6, COMPLETED}}));
    EXPECT_EQ(run.systemLog,
              (Messages{{4, "unable to create directory structure " + reason}, {4, "Invalid Environment, exiting"}}));
}

} // namespace

} // namespace QMT::Test
