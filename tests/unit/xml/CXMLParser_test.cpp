#include "support/FailingAllocation.h"
#include "support/Files.h"
#include "support/XmlTest.h"
#include "xml/CElementWalk.h"

#include <Poco/DOM/Element.h>
#include <Poco/DOM/NodeList.h>
#include <Poco/Message.h>

namespace QMT::Test
{

namespace
{

using Poco::Message;
using Poco::XML::Element;
using Poco::XML::NodeList;

const Messages UNWRITABLE_DOCUMENT = {{Message::PRIO_INFORMATION, "Unable to wite updated XML file!"}};

class DocumentAccess : public XmlTest
{
};

// ---- loadXMLDocument ----

TEST_F(DocumentAccess, LoadParsesAFile)
{
    const std::string path = framework.file("a.xml", "<?xml version='1.0'?>\n<a>\n  <b/>\n</a>\n");

    EXPECT_EQ(textOf(parser.loadXMLDocument(path)), "<a>\n\t<b/>\n</a>\n");

    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(DocumentAccess, LoadReturnsNullForAMissingFile)
{
    EXPECT_TRUE(parser.loadXMLDocument(framework.path() + "/missing").isNull());

    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(DocumentAccess, LoadReturnsNullForAnEmptyFile)
{
    EXPECT_TRUE(parser.loadXMLDocument(framework.file("a.xml", "")).isNull());

    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(DocumentAccess, LoadReturnsNullForMalformedXml)
{
    EXPECT_TRUE(parser.loadXMLDocument(framework.file("a.xml", "<a><b></a>")).isNull());

    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(DocumentAccess, LoadReportsAnUnreadableFile)
{
    EXPECT_TRUE(parser.loadXMLDocument(framework.path()).isNull());

    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_ERROR, "Error opening/reading file"}}));
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

// ---- parseFile ----

TEST_F(DocumentAccess, ParseDropsWhiteSpaceText)
{
    CXMLParser::DocumentPtr document = CXMLParser::parseFile("<a> \n\t<b/> </a>");

    const Element* const inner = CElementWalk::first(*document, "b");
    EXPECT_EQ(document->documentElement()->firstChild(), inner);
    EXPECT_EQ(inner->nextSibling(), nullptr);
}

TEST_F(DocumentAccess, ParseTreatsPrefixesAsPartsOfNames)
{
    EXPECT_FALSE(CXMLParser::parseFile("<p:a><p:b/></p:a>").isNull());
}

TEST_F(DocumentAccess, ParseReturnsNullForMalformedXml)
{
    EXPECT_TRUE(CXMLParser::parseFile("").isNull());
    EXPECT_TRUE(CXMLParser::parseFile("text").isNull());
    EXPECT_TRUE(CXMLParser::parseFile("<a").isNull());
}

TEST_F(DocumentAccess, ParseReturnsNullBeyondTheMaximumDepth)
{
    std::string open;
    std::string close;
    for (int depth = 0; depth < 2001; ++depth)
    {
        open += "<a>";
        close += "</a>";
    }

    EXPECT_TRUE(CXMLParser::parseFile(open + close).isNull());
    EXPECT_FALSE(CXMLParser::parseFile(open.substr(3) + close.substr(4)).isNull());
}

// ---- writeXMLFile ----

TEST_F(DocumentAccess, WriteIndentsAndOmitsTheDeclaration)
{
    const std::string path = framework.path() + "/out.xml";

    parser.writeXMLFile(path, parse("<?xml version='1.0'?>\r\n<a z='1' b='2'><!-- c -->\r\n<b>text</b><c/></a>"));

    EXPECT_EQ(readFile(path), "<a b=\"2\" z=\"1\">\n\t<!-- c -->\n\t<b>text</b>\n\t<c/>\n</a>\n");
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(DocumentAccess, WriteReplacesLongerContent)
{
    const std::string path = framework.file("out.xml", "something much longer than the document that comes");

    parser.writeXMLFile(path, parse("<a/>"));

    EXPECT_EQ(readFile(path), "<a/>\n");
}

TEST_F(DocumentAccess, WriteKeepsUnknownContent)
{
    const std::string text =
        "<other>\n\t<?do this?>\n\t<participants x=\"1\">words &amp; signs</participants>\n</other>\n";
    const std::string path = framework.path() + "/out.xml";

    parser.writeXMLFile(path, parse(text));

    EXPECT_EQ(readFile(path), text);
}

TEST_F(DocumentAccess, WriteReportsATargetThatCannotBeOpened)
{
    parser.writeXMLFile(framework.path() + "/missing/out.xml", parse("<a/>"));

    EXPECT_EQ(log.messages(), UNWRITABLE_DOCUMENT);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(DocumentAccess, WriteReportsAFullDevice)
{
    const std::string path = framework.path() + "/full";
    putFullDeviceAt(path);

    parser.writeXMLFile(path, parse("<a/>"));

    EXPECT_EQ(log.messages(), UNWRITABLE_DOCUMENT);
}

TEST_F(DocumentAccess, WriteKeepsTheFileWhenMemoryRunsOut)
{
    const std::string path = framework.file("out.xml", "complete");
    const CXMLParser::DocumentPtr document = parse("<a>" + std::string(200000, 'x') + "</a>");
    const FailingAllocation outOfMemory(100000);

    parser.writeXMLFile(path, document);

    EXPECT_EQ(readFile(path), "complete");
    EXPECT_EQ(log.messages(), UNWRITABLE_DOCUMENT);
}

TEST_F(DocumentAccess, WriteKeepsTheFileForAControlCharacter)
{
    const std::string path = framework.file("out.xml", "complete");
    CXMLParser::DocumentPtr document = parse("<a/>");
    document->documentElement()->setAttribute("b", "\x01");

    parser.writeXMLFile(path, document);

    EXPECT_EQ(readFile(path), "complete");
    EXPECT_EQ(log.messages(), UNWRITABLE_DOCUMENT);
}

TEST_F(DocumentAccess, WriteKeepsNonAsciiText)
{
    const std::string path = framework.path() + "/out.xml";

    parser.writeXMLFile(path, parse("<a b='\u00fc\u20ac'>\u00df</a>"));

    EXPECT_EQ(readFile(path), "<a b=\"\u00fc\u20ac\">\u00df</a>\n");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(DocumentAccess, WriteKeepsTheFileForInvalidUtf8)
{
    const std::string path = framework.file("out.xml", "complete");
    CXMLParser::DocumentPtr document = parse("<a><b/><c/></a>");
    CElementWalk::first(*document, "c")->setAttribute("name", "x\xff");

    parser.writeXMLFile(path, document);

    EXPECT_EQ(readFile(path), "complete");
    EXPECT_EQ(log.messages(), UNWRITABLE_DOCUMENT);
}

TEST_F(DocumentAccess, WriteKeepsTheFileForInvalidUtf8AfterNonAscii)
{
    const std::string path = framework.file("out.xml", "complete");
    CXMLParser::DocumentPtr document = parse("<a><b>\u00fc</b><c/></a>");
    CElementWalk::first(*document, "c")->setAttribute("name", "x\xff");

    parser.writeXMLFile(path, document);

    EXPECT_EQ(readFile(path), "complete");
    EXPECT_EQ(log.messages(), UNWRITABLE_DOCUMENT);
}

// ---- getAttributeValueList, countRootEntries, only_component ----

TEST_F(DocumentAccess, GetAttributeValueListKeepsOrderAndGaps)
{
    CXMLParser::DocumentPtr document = parse(
        "<roots name='not this'><root name='A'/><x><root/></x><other name='O'/><root name='B' other='C'/></roots>");

    EXPECT_EQ(CXMLParser::getAttributeValueList(document->documentElement(), "root", "name"),
              (std::vector<std::string>{"A", "", "B"}));
    EXPECT_EQ(CXMLParser::getAttributeValueList(document->documentElement(), "missing", "name"),
              std::vector<std::string>());
}

TEST_F(DocumentAccess, CountRootEntriesCountsRootsOnly)
{
    CXMLParser::DocumentPtr document =
        parse("<roots><root/>text<Root/><root><root/></root><roots/><!-- root --></roots>");
    Poco::AutoPtr<NodeList> children = document->documentElement()->childNodes();

    EXPECT_EQ(CXMLParser::countRootEntries(children), 2);
}

TEST_F(DocumentAccess, CountRootEntriesReturnsZeroForNoNodes)
{
    CXMLParser::DocumentPtr document = parse("<roots/>");
    Poco::AutoPtr<NodeList> children = document->documentElement()->childNodes();

    EXPECT_EQ(CXMLParser::countRootEntries(children), 0);
}

TEST_F(DocumentAccess, OnlyComponentIsTrueForExactlyOne)
{
    EXPECT_FALSE(CXMLParser::only_component(parse("<qor/>")));
    EXPECT_TRUE(CXMLParser::only_component(parse("<qor><participant/></qor>")));
    EXPECT_TRUE(CXMLParser::only_component(parse("<qor><x><participant/></x><participants/></qor>")));
    EXPECT_FALSE(CXMLParser::only_component(parse("<qor><participant/><participant/></qor>")));
    EXPECT_FALSE(CXMLParser::only_component(parse("<qor><participant/><participant/><participant/></qor>")));
}

// ---- The path of the working copy ----

TEST_F(DocumentAccess, ConstructorFixesTheWorkingCopy)
{
    workOn("b");
    CXMLParser::DocumentPtr document = parse(configurationOf({{"a", {"A"}}, {"b", {"B"}}}));
    impl.qorPath() = "/nonexistent";

    EXPECT_EQ(parser.removeModelHandler(document, "b"), 1);

    EXPECT_EQ(written(), configurationOf({{"a", {"A"}}}));
}

TEST_F(DocumentAccess, ConstructorTouchesNoFile)
{
    EXPECT_FALSE(isWritten());
    EXPECT_EQ(log.messages(), SILENCE);
}

} // namespace

} // namespace QMT::Test
