#include "ctl/Service.h"

#include "xml/CXMLParser.h"

#include <Poco/DOM/Document.h>

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

std::string participant(const std::string& handler, const std::string& rootClass)
{
    return "<participant><roots><root name='" + rootClass + "'/></roots><managedObject compName='" + handler +
           "'/></participant>";
}

Service found(const std::string& participants, const std::string& handler, const std::string& rootClass)
{
    CXMLParser::DocumentPtr document =
        CXMLParser::parseFile("<q><participants>" + participants + "</participants></q>");
    return serviceOf(*document, handler, rootClass);
}

TEST(Service, FindsTheHandlerItself)
{
    const Service service = found(participant("a", "X") + participant("b", "Y"), "b", "Y");

    EXPECT_TRUE(service.isHandlerKnown);
    EXPECT_TRUE(service.isByHandler);
    EXPECT_EQ(service.other, std::nullopt);
    EXPECT_FALSE(service.isPlaceholderFirst);
}

TEST(Service, FindsAnotherHandler)
{
    const Service service = found(participant("a", "X") + participant("b", "Y"), "b", "X");

    EXPECT_TRUE(service.isHandlerKnown);
    EXPECT_FALSE(service.isByHandler);
    EXPECT_EQ(service.other, "a");
}

TEST(Service, FindsBothHandlers)
{
    const Service service = found(participant("a", "X") + participant("b", "X"), "a", "X");

    EXPECT_TRUE(service.isByHandler);
    EXPECT_EQ(service.other, "b");
}

TEST(Service, FindsAHandlerWithoutAName)
{
    EXPECT_EQ(found("<participant><roots><root name='X'/></roots></participant>", "a", "X").other, "");
}

TEST(Service, FindsNobodyForAnUnservedRootClass)
{
    const Service service = found(participant("a", "X") + "<root name='Z'/>", "c", "Z");

    EXPECT_FALSE(service.isHandlerKnown);
    EXPECT_FALSE(service.isByHandler);
    EXPECT_EQ(service.other, std::nullopt);
}

TEST(Service, FindsNobodyForAnEmptyRootClass)
{
    const Service service = found(participant("a", "") + participant("b", ""), "a", "");

    EXPECT_TRUE(service.isHandlerKnown);
    EXPECT_FALSE(service.isByHandler);
    EXPECT_EQ(service.other, std::nullopt);
}

TEST(Service, RecognisesThePlaceholderInTheFirstPlaceOnly)
{
    const std::string placeholder = participant("VELDA_OAM_COMPONENT", "P");

    EXPECT_TRUE(found(placeholder + participant("a", "X"), "a", "X").isPlaceholderFirst);
    EXPECT_FALSE(found(participant("a", "X") + placeholder, "a", "X").isPlaceholderFirst);
}

TEST(Service, SearchesAllContainersOfRoots)
{
    const std::string two = "<participant><roots/><roots><root name='V'/><root name='X'/></roots>"
                            "<managedObject compName='a'/><managedObject compName='b'/></participant>";

    EXPECT_TRUE(found(two, "b", "X").isByHandler);
    EXPECT_EQ(found(two, "c", "X").other, "a");
}

} // namespace

} // namespace QMT::Test
