#include "app/CQorModelTool.h"
#include "support/ImplTest.h"

namespace QMT::Test
{

namespace
{

class StagingOptions : public ImplTest
{
protected:
    StagingOptions() : tool(&impl, log.logger())
    {
        log.clear();
    }

    void add()
    {
        tool.handleAddModelFile("addModelFile", "/m/a.xml");
    }

    void remove()
    {
        tool.handleRemoveModelFile("removeModelFile", "/m/r.xml");
    }

    void handler()
    {
        tool.handleModelHandler("modelHandler", "h");
    }

    void expect(const CommandQueue& queue, bool addStaged, bool removeStaged, bool handlerStaged,
                bool removeWithHandler)
    {
        const Request& request = impl.request();
        EXPECT_EQ(impl.queue(), queue);
        EXPECT_EQ(request.addStaged, addStaged);
        EXPECT_EQ(request.removeStaged, removeStaged);
        EXPECT_EQ(request.handlerStaged, handlerStaged);
        EXPECT_EQ(request.removeWithHandler, removeWithHandler);
        EXPECT_TRUE(tool.isCmdGiven());
        EXPECT_EQ(log.messages(), SILENCE);
        EXPECT_EQ(systemLog.messages(), SILENCE);
    }

    CQorModelTool tool;
};

TEST_F(StagingOptions, StageAnAddition)
{
    add();

    expect({{CmdID::AddModelFile, "/m/a.xml"}}, true, false, false, false);
    EXPECT_EQ(impl.request().modelFile, "/m/a.xml");
}

TEST_F(StagingOptions, StageAnAdditionAndItsHandler)
{
    add();
    handler();

    expect({{CmdID::AddModelFileWithHandler, "/m/a.xml"}}, true, false, false, false);
    EXPECT_EQ(impl.request().modelFile, "/m/a.xml");
    EXPECT_EQ(impl.request().modelHandler, "h");
}

TEST_F(StagingOptions, StageAHandlerAndItsAddition)
{
    handler();
    add();

    expect({{CmdID::AddModelFileWithHandler, "h"}}, true, false, true, false);
    EXPECT_EQ(impl.request().modelFile, "/m/a.xml");
    EXPECT_EQ(impl.request().modelHandler, "h");
}

TEST_F(StagingOptions, StageARemoval)
{
    remove();

    expect({{CmdID::RemoveModelFile, "/m/r.xml"}}, false, true, false, false);
    EXPECT_EQ(impl.request().modelFile, "/m/r.xml");
}

TEST_F(StagingOptions, StageARemovalAndItsHandler)
{
    remove();
    handler();

    expect({{CmdID::RemoveModelFileWithHandler, "/m/r.xml"}}, false, true, false, true);
    EXPECT_EQ(impl.request().modelHandler, "h");
}

TEST_F(StagingOptions, StageAHandlerAndARemovalAsTwo)
{
    handler();
    remove();

    expect({{CmdID::RemoveModelFileWithHandler, "/m/r.xml"}, {CmdID::ModelHandler, "h"}}, false, false, true, true);
    EXPECT_EQ(impl.request().modelFile, "/m/r.xml");
}

TEST_F(StagingOptions, StageAHandler)
{
    handler();

    expect({{CmdID::ModelHandler, "h"}}, false, false, true, false);
    EXPECT_EQ(impl.request().modelHandler, "h");
}

TEST_F(StagingOptions, PreferTheRemovalWhenAHandlerFollowsBoth)
{
    add();
    remove();
    handler();

    expect({{CmdID::RemoveModelFileWithHandler, "/m/r.xml"}, {CmdID::AddModelFile, "/m/a.xml"}}, true, true, false,
           true);
}

TEST_F(StagingOptions, StageInFrontOfEarlierActions)
{
    impl.queue().emplace_front(CmdID::RemoveModelFile, "/m/earlier.xml");

    add();

    expect({{CmdID::AddModelFile, "/m/a.xml"}, {CmdID::RemoveModelFile, "/m/earlier.xml"}}, true, false, false, false);
}

TEST_F(StagingOptions, ChangeTheNewestAloneForAnAdditionsHandler)
{
    const CommandQueue earlier = {{CmdID::ModelHandler, "b|1|1"}, {CmdID::AddModelFile, "/m/a.xml"}};
    impl.queue() = earlier;

    add();
    handler();

    expect({{CmdID::AddModelFileWithHandler, "/m/a.xml"}, earlier[0], earlier[1]}, true, false, false, false);
}

TEST_F(StagingOptions, ChangeTheNewestAloneForARemovalsHandler)
{
    const CommandQueue earlier = {{CmdID::RemoveModelFile, "/m/b.xml"}, {CmdID::AddModelFile, "/m/a.xml"}};
    impl.queue() = earlier;

    remove();
    handler();

    expect({{CmdID::RemoveModelFileWithHandler, "/m/r.xml"}, earlier[0], earlier[1]}, false, true, false, true);
}

TEST_F(StagingOptions, ChangeTheNewestAloneForAHandlersAddition)
{
    const CommandQueue earlier = {{CmdID::ModelHandler, "b|1|1"}, {CmdID::RemoveModelFile, "/m/b.xml"}};
    impl.queue() = earlier;

    handler();
    add();

    expect({{CmdID::AddModelFileWithHandler, "h"}, earlier[0], earlier[1]}, true, false, true, false);
}

TEST_F(StagingOptions, LeaveTheVersionsAtOne)
{
    add();
    handler();

    EXPECT_EQ(impl.moVersion(), "1");
    EXPECT_EQ(impl.trVersion(), "1");
}

TEST_F(StagingOptions, RecordAndLogTheManagedObjectVersion)
{
    tool.handleManagedObjectVersion("managedObjectVersion", "2");

    EXPECT_EQ(impl.moVersion(), "2");
    EXPECT_EQ(impl.trVersion(), "1");
    EXPECT_TRUE(tool.isCmdGiven());
    EXPECT_EQ(log.messages(), info({"handleManagedObjectVersion: 2"}));
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(StagingOptions, RecordTheResourceVersionSilently)
{
    tool.handleTransactionalResourceVersion("transactionalResourceVersion", "3");

    EXPECT_EQ(impl.trVersion(), "3");
    EXPECT_EQ(impl.moVersion(), "1");
    EXPECT_TRUE(tool.isCmdGiven());
    EXPECT_EQ(log.messages(), SILENCE);
}

} // namespace

} // namespace QMT::Test
