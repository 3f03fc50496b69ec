#include "support/XmlTest.h"

#include "support/Files.h"

#include <Poco/DOM/DOMWriter.h>
#include <Poco/Exception.h>
#include <Poco/XML/XMLWriter.h>

#include <sstream>

namespace QMT::Test
{

std::string configurationOf(const std::vector<HandlerEntry>& handlers)
{
    if (handlers.empty())
    {
        return "<qor>\n\t<participants/>\n</qor>\n";
    }
    std::string text = "<qor>\n\t<participants>\n";
    for (const HandlerEntry& handler : handlers)
    {
        text += "\t\t<participant>\n";
        if (handler.roots.empty())
        {
            text += "\t\t\t<roots/>\n";
        }
        else
        {
            text += "\t\t\t<roots>\n";
            for (const std::string& root : handler.roots)
            {
                text += "\t\t\t\t<root name=\"" + root + "\"/>\n";
            }
            text += "\t\t\t</roots>\n";
        }
        text += "\t\t\t<managedObject compName=\"" + handler.name + "\" ifName=\"PelOamSpiManagedObject\" version=\"" +
                handler.moVersion + "\"/>\n";
        text += "\t\t\t<txResource compName=\"" + handler.name +
                "\" ifName=\"PelOamSpiTransactionalResource\" version=\"" + handler.trVersion + "\"/>\n";
        text += "\t\t</participant>\n";
    }
    return text + "\t</participants>\n</qor>\n";
}

XmlTest::XmlTest() : tool(&impl, log.logger()), parser(tool, log.logger())
{
    log.clear();
}

void XmlTest::workOn(const std::string& name)
{
    impl.componentName() = name;
}

CXMLParser::DocumentPtr XmlTest::parse(const std::string& text)
{
    CXMLParser::DocumentPtr document = CXMLParser::parseFile(text);
    if (document.isNull())
    {
        throw Poco::DataException("not well-formed: " + text);
    }
    return document;
}

std::string XmlTest::textOf(const Poco::XML::Document* document) const
{
    Poco::XML::DOMWriter writer;
    writer.setNewLine("\n");
    writer.setOptions(Poco::XML::XMLWriter::PRETTY_PRINT);
    std::ostringstream text;
    writer.writeNode(text, document);
    return text.str();
}

bool XmlTest::isWritten() const
{
    return exists(framework.configuration(".tmp"));
}

std::string XmlTest::written() const
{
    return readFile(framework.configuration(".tmp"));
}

void XmlTest::expectUnchanged(const Poco::XML::Document* document, const std::string& before) const
{
    EXPECT_EQ(textOf(document), before);
    EXPECT_FALSE(isWritten());
}

} // namespace QMT::Test
