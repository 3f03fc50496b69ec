#include "support/XmlTest.h"

#include <memory>
#include <type_traits>

namespace QMT::Test
{

namespace
{

class Implementation : public ImplTest
{
};

TEST_F(Implementation, ConstructorLeavesTheRequestEmpty)
{
    const CQorModelToolImpl fresh(log.logger());

    const Request& request = fresh.request();
    EXPECT_FALSE(request.helpRequested);
    EXPECT_FALSE(request.commitRequested);
    EXPECT_FALSE(request.rollbackRequested);
    EXPECT_FALSE(request.addStaged);
    EXPECT_FALSE(request.removeStaged);
    EXPECT_FALSE(request.removeWithHandler);
    EXPECT_FALSE(request.handlerStaged);
    EXPECT_FALSE(request.statusRequested);
    EXPECT_FALSE(request.newSession);
    EXPECT_FALSE(request.commandGiven);
    EXPECT_EQ(request.modelFile, "");
    EXPECT_EQ(request.modelHandler, "");
}

TEST_F(Implementation, ConstructorSetsBothVersionsToOne)
{
    CQorModelToolImpl fresh(log.logger());

    EXPECT_EQ(fresh.moVersion(), "1");
    EXPECT_EQ(fresh.trVersion(), "1");
    EXPECT_EQ(fresh.componentName(), "");
    EXPECT_EQ(fresh.qorPath(), "");
    EXPECT_TRUE(fresh.queue().empty());
    EXPECT_EQ(fresh.parser(), nullptr);
}

TEST_F(Implementation, KindNumbersAndWidthStayFixed)
{
    static_assert(std::is_same_v<std::underlying_type_t<CmdID>, std::int32_t>);
    EXPECT_EQ(static_cast<int>(CmdID::AddModelFile), 0);
    EXPECT_EQ(static_cast<int>(CmdID::ModelHandler), 1);
    EXPECT_EQ(static_cast<int>(CmdID::RemoveModelFile), 2);
    EXPECT_EQ(static_cast<int>(CmdID::AddModelFileWithHandler), 3);
    EXPECT_EQ(static_cast<int>(CmdID::RemoveModelFileWithHandler), 4);
}

TEST_F(Implementation, RequestIsTheSameForReadersAndWriters)
{
    impl.request().modelFile = "/m/a.xml";

    EXPECT_EQ(static_cast<const CQorModelToolImpl&>(impl).request().modelFile, "/m/a.xml");
}

TEST_F(Implementation, SetParserReplacesTheEditor)
{
    CQorModelTool tool(&impl, log.logger());
    auto first = std::make_unique<CXMLParser>(tool, log.logger());
    auto second = std::make_unique<CXMLParser>(tool, log.logger());
    CXMLParser* const expected = second.get();

    impl.setParser(std::move(first));
    impl.setParser(std::move(second));

    EXPECT_EQ(impl.parser(), expected);
}

} // namespace

} // namespace QMT::Test
