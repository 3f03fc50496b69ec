#include "xml/CElementReader.h"

#include "support/Texts.h"
#include "xml/CXMLParser.h"
#include "xml/DocumentDemand.h"

#include <Poco/DOM/Document.h>

#include <gtest/gtest.h>

#include <vector>

namespace QMT::Test
{

namespace
{

/// Records what it reads.
class Listener : public CElementReader
{
public:
    std::string told;

protected:
    void begin(const std::string& tag, const Attributes& attributes) override
    {
        told += "<" + tag;
        for (int i = 0; i < attributes.getLength(); ++i)
        {
            told += " " + attributes.getQName(i) + "=" + attributes.getValue(i);
        }
        told += ">";
    }

    void end() override
    {
        told += "</>";
    }
};

TEST(ElementReader, ReadReportsBeginAndEndOfElements)
{
    Listener listener;

    EXPECT_TRUE(listener.read("<?xml version='1.0'?><a x='1' p:y='&lt;'><!-- <no/> --><b/>text<p:c><![CDATA[<no/>]]>"
                              "</p:c></a>"));

    EXPECT_EQ(listener.told, "<a x=1 p:y=<><b></><p:c></></>");
}

TEST(ElementReader, ReadExpandsEntitiesAndDefaultAttributes)
{
    Listener listener;

    EXPECT_TRUE(listener.read("<!DOCTYPE a [<!ENTITY e '<b/>'><!ENTITY v 'x'><!ATTLIST a d CDATA 'y'>]>"
                              "<a c='&v;'>&e;</a>"));

    EXPECT_EQ(listener.told, "<a c=x d=y><b></></>");
}

TEST(ElementReader, ReadFailsWhereParseFileFails)
{
    const std::string chain = repeat("<!ENTITY e ''>", MAX_ENTITIES);
    const std::vector<std::string> texts = {
        "",
        " ",
        "<a>",
        "<a></b>",
        "<a/><a/>",
        "text",
        "<a b='1' b='2'/>",
        "<a>&no;</a>",
        "<a>\xFF</a>",
        std::string("<a>\0</a>", 8),
        "<?xml version='1.0' encoding='no-such'?><a/>",
        "<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>&e;</a>",
        "<!DOCTYPE a [" + chain + "<!ENTITY e ''>]><a/>",
        repeat("<a>", MAX_NESTING_DEPTH + 1) + repeat("</a>", MAX_NESTING_DEPTH + 1),
    };
    for (const std::string& text : texts)
    {
        EXPECT_TRUE(CXMLParser::parseFile(text).isNull()) << text.substr(0, 80);
        EXPECT_FALSE(Listener().read(text)) << text.substr(0, 80);
    }
}

TEST(ElementReader, ReadSucceedsWhereParseFileSucceeds)
{
    const std::string chain = repeat("<!ENTITY e ''>", MAX_ENTITIES);
    const std::vector<std::string> texts = {
        "<a/>\n",
        "\xEF\xBB\xBF<a/>",
        "<?xml version='1.0' encoding='ISO-8859-1'?><a b='\xE4'/>",
        "<!DOCTYPE a SYSTEM 'a.dtd'><a/>",
        "<!DOCTYPE a [" + chain + "]><a/>",
        repeat("<a>", MAX_NESTING_DEPTH) + repeat("</a>", MAX_NESTING_DEPTH),
    };
    for (const std::string& text : texts)
    {
        EXPECT_FALSE(CXMLParser::parseFile(text).isNull()) << text.substr(0, 80);
        EXPECT_TRUE(Listener().read(text)) << text.substr(0, 80);
    }
}

TEST(ElementReader, ReadReportsElementsBeforeAnError)
{
    Listener listener;

    EXPECT_FALSE(listener.read("<a><b/></c>"));

    EXPECT_EQ(listener.told, "<a><b></>");
}

} // namespace

} // namespace QMT::Test
