#include "ctl/Configuration.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

using Names = std::vector<std::string>;

/// The one handler of a document whose participant holds `content`.
Handler handlerOf(const std::string& content)
{
    const auto configuration =
        readConfiguration("<qor><participants><participant>" + content + "</participant></participants></qor>");
    return configuration.value().handlers.at(0);
}

TEST(Configuration, ReadReturnsHandlersInDocumentOrder)
{
    const auto configuration = readConfiguration(
        "<qor><wrap><participants>"
        "<participant><roots><root name='A'/><!-- x --><root name='B'/></roots>"
        "<managedObject compName='first' version='2'/><txResource compName='first' version='3'/></participant>"
        "<participant><roots/><managedObject compName='VELDA_OAM_COMPONENT' version='1'/></participant>"
        "</participants></wrap></qor>");

    ASSERT_TRUE(configuration.has_value());
    EXPECT_EQ(configuration->containerCount, 1U);
    ASSERT_EQ(configuration->handlers.size(), 2U);
    EXPECT_EQ(configuration->handlers[0].name, "first");
    EXPECT_EQ(configuration->handlers[0].moVersion, "2");
    EXPECT_EQ(configuration->handlers[0].trVersion, "3");
    EXPECT_EQ(configuration->handlers[0].rootClasses, (Names{"A", "B"}));
    EXPECT_FALSE(configuration->handlers[0].isPlaceholder());
    EXPECT_EQ(configuration->handlers[1].trVersion, "");
    EXPECT_EQ(configuration->handlers[1].rootClasses, Names());
    EXPECT_TRUE(configuration->handlers[1].isPlaceholder());
}

TEST(Configuration, ReadCountsTheContainers)
{
    EXPECT_EQ(readConfiguration("<qor/>")->containerCount, 0U);
    EXPECT_EQ(readConfiguration("<qor><participants/><x><participants/></x></qor>")->containerCount, 2U);
}

TEST(Configuration, ReadReturnsNothingForMalformedXml)
{
    EXPECT_FALSE(readConfiguration("").has_value());
    EXPECT_FALSE(readConfiguration("<qor>").has_value());
}

TEST(Configuration, ReadNamesAHandlerByItsFirstManagedObject)
{
    const Handler handler = handlerOf("<managedObject compName='a' version='1'/><txResource version='2'/>"
                                      "<managedObject compName='b' version='3'/><txResource version='4'/>");

    EXPECT_EQ(handler.name, "a");
    EXPECT_EQ(handler.moVersion, "1");
    EXPECT_EQ(handler.trVersion, "2");
}

TEST(Configuration, ReadReturnsNoNameWithoutAManagedObject)
{
    const Handler handler = handlerOf("<txResource compName='a' version='2'/><x><managedObject compName='b'/></x>");

    EXPECT_EQ(handler.name, "");
    EXPECT_EQ(handler.moVersion, "");
    EXPECT_EQ(handler.trVersion, "2");
}

TEST(Configuration, ReadCollectsTheRootsOfEachContainer)
{
    const Handler handler =
        handlerOf("<root name='no'/><roots><root name='A'/><class name='no'/><x><root name='no'/></x></roots>"
                  "text<roots><root/><root name='A'/></roots>");

    EXPECT_EQ(handler.rootClasses, (Names{"A", "", "A"}));
}

TEST(Configuration, ReadSeparatesNestedHandlers)
{
    const auto configuration =
        readConfiguration("<qor><participant><managedObject compName='outer'/>"
                          "<participant><roots><root name='I'/></roots><managedObject compName='inner'/></participant>"
                          "<roots><root name='O'/></roots></participant></qor>");

    ASSERT_EQ(configuration->handlers.size(), 2U);
    EXPECT_EQ(configuration->handlers[0].name, "outer");
    EXPECT_EQ(configuration->handlers[0].rootClasses, (Names{"O"}));
    EXPECT_EQ(configuration->handlers[1].name, "inner");
    EXPECT_EQ(configuration->handlers[1].rootClasses, (Names{"I"}));
}

} // namespace

} // namespace QMT::Test
