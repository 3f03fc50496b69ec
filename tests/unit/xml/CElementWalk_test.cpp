#include "xml/CElementWalk.h"

#include "xml/CXMLParser.h"

#include <Poco/DOM/Document.h>
#include <Poco/DOM/Element.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace QMT::Test
{

namespace
{

using Poco::XML::Element;

class ElementWalk : public testing::Test
{
protected:
    static std::vector<std::string> names(Poco::XML::Node& root, const std::string& tag)
    {
        std::vector<std::string> found;
        CElementWalk walk(root, tag);
        while (const Element* const element = walk.next())
        {
            found.push_back(element->getAttribute("n"));
        }
        return found;
    }

    using Names = std::vector<std::string>;

    CXMLParser::DocumentPtr document = CXMLParser::parseFile("<a n='0'><a n='1'><b n='2'><a n='3'/></b></a>text"
                                                             "<!-- a --><a n='4'/><p:a n='5'/><c n='6'/></a>");
};

TEST_F(ElementWalk, VisitsAllElementsOfTheNameInDocumentOrder)
{
    EXPECT_EQ(names(*document, "a"), (Names{"0", "1", "3", "4"}));
}

TEST_F(ElementWalk, DoesNotVisitTheNodeItStartsFrom)
{
    EXPECT_EQ(names(*document->documentElement(), "a"), (Names{"1", "3", "4"}));
}

TEST_F(ElementWalk, StaysBelowTheNodeItStartsFrom)
{
    Element* const inner = CElementWalk::first(*document, "b");

    EXPECT_EQ(names(*inner, "a"), (Names{"3"}));
}

TEST_F(ElementWalk, MatchesNamesWithTheirPrefixes)
{
    EXPECT_EQ(names(*document, "p:a"), (Names{"5"}));
}

TEST_F(ElementWalk, NextStaysAtTheEnd)
{
    CElementWalk walk(*document, "c");

    EXPECT_NE(walk.next(), nullptr);
    EXPECT_EQ(walk.next(), nullptr);
    EXPECT_EQ(walk.next(), nullptr);
}

TEST_F(ElementWalk, FirstReturnsTheFirstElement)
{
    EXPECT_EQ(CElementWalk::first(*document->documentElement(), "a")->getAttribute("n"), "1");
    EXPECT_EQ(CElementWalk::first(*document, "missing"), nullptr);
}

TEST_F(ElementWalk, OnlyReturnsASingleElement)
{
    EXPECT_EQ(CElementWalk::only(*document, "b")->getAttribute("n"), "2");
    EXPECT_EQ(CElementWalk::only(*document, "a"), nullptr);
    EXPECT_EQ(CElementWalk::only(*document, "missing"), nullptr);
}

} // namespace

} // namespace QMT::Test
