#include "support/ToolTest.h"

namespace QMT::Test
{

namespace
{

class Driver : public ToolTest
{
protected:
    void expectNothingStaged() const
    {
        EXPECT_FALSE(exists(framework.lock()));
        EXPECT_FALSE(exists(framework.session()));
        EXPECT_FALSE(exists(framework.configuration(".tmp")));
    }
};

TEST_F(Driver, SucceedsWhenThereIsNothingToDo)
{
    const ToolRun run = runTool({"-o", "2"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({"handleManagedObjectVersion: 2", COMPLETED}));
    EXPECT_EQ(run.systemLog, Messages());
    expectNothingStaged();
}

TEST_F(Driver, RejectsAnAdditionWithARemoval)
{
    const ToolRun run = runTool({"-a", "/m/a.xml", "-x", "/m/b.xml"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({"Invalid command!\nSeparate calls to add and remove of model files."}));
    EXPECT_EQ(run.systemLog, Messages());
    expectNothingStaged();
}

TEST_F(Driver, RejectsARemovalWithAnAddition)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"-x", "/m/b.xml", "-a", "/m/a.xml"},
                                                      {"-x", "/m/b.xml", "-m", "h", "-a", "/m/a.xml"},
                                                      {"-a", "/m/a.xml", "-m", "h", "-x", "/m/b.xml"}})
    {
        const ToolRun run = runTool(arguments);

        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.log, info({"Invalid command!\nSeparate calls to add and remove of model files."}));
        expectNothingStaged();
    }
}

TEST_F(Driver, RejectsAHandlerBeforeARemoval)
{
    const ToolRun run = runTool({"-m", "h", "-x", "/m/b.xml"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({"Invalid command!"}));
    expectNothingStaged();
}

TEST_F(Driver, RejectsAHandlerBeforeAnAdditionAndARemoval)
{
    const ToolRun run = runTool({"-m", "h", "-a", "/m/a.xml", "-x", "/m/b.xml"});

    EXPECT_EQ(run.log, info({"Invalid command!"}));
}

TEST_F(Driver, KeepsTheSessionOfARejectedCommand)
{
    givenSession("0:/m/a.xml\n");

    const ToolRun run = runTool({"-a", "/m/a.xml", "-x", "/m/b.xml", "--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({"Invalid command!\nSeparate calls to add and remove of model files."}));
    EXPECT_EQ(readFile(framework.session()), "0:/m/a.xml\n");
    EXPECT_TRUE(exists(framework.lock()));
}

TEST_F(Driver, StagesBeforeFindingNothingToCommit)
{
    const ToolRun run = runTool({"-x", "/m/a.xml", "--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({NEW_SESSION, UPDATED, "--removeModelFile=/m/a.xml", "There is nothing to commit!"}));
    EXPECT_EQ(run.systemLog,
              (Messages{{7, "--removeModelFile=/m/a.xml"}, {6, "lock file not present, There is nothing to commit."}}));
    EXPECT_EQ(readFile(framework.session()), "2:/m/a.xml\n");
}

TEST_F(Driver, StagesAndCommitsInOneRunOfAnOpenSession)
{
    givenSession("2:/m/a.xml\n");

    const ToolRun run = runTool({"-x", "/m/b.xml", "--commit"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({UPDATED, "--removeModelFile=/m/b.xml", "Unable to find model file, skipping removal.",
                             "Unable to find model file, skipping removal.", COMPLETED}));
    EXPECT_FALSE(exists(framework.lock()));
}

TEST_F(Driver, StagesAndRollsBackInOneRun)
{
    givenSession("2:/m/a.xml\n");

    const ToolRun run = runTool({"-x", "/m/b.xml", "--rollback"});

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.log, info({UPDATED, "--removeModelFile=/m/b.xml", "Rolling back."}));
    EXPECT_FALSE(exists(framework.session()));
    EXPECT_FALSE(exists(framework.lock()));
}

} // namespace

} // namespace QMT::Test
