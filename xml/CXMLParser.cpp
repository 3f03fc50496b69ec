#include "xml/CXMLParser.h"

#include "app/CQorModelTool.h"
#include "impl/CFrameworkPaths.h"
#include "base/WholeFile.h"
#include "xml/CElementWalk.h"
#include "xml/CTextBuffer.h"
#include "xml/DocumentModel.h"
#include "xml/NestingDepth.h"

#include <Poco/DOM/DOMParser.h>
#include <Poco/DOM/DOMWriter.h>
#include <Poco/DOM/Document.h>
#include <Poco/DOM/Element.h>
#include <Poco/DOM/NodeList.h>
#include <Poco/Exception.h>
#include <Poco/Logger.h>
#include <Poco/XML/XMLWriter.h>

#include <algorithm>
#include <ostream>

namespace QMT
{

using Poco::XML::Document;
using Poco::XML::Element;
using Poco::XML::Node;
using Poco::XML::NodeList;

namespace
{

/// `xml` itself, if it can be read again. The writer ends in the middle, without a word, where it meets a name that is
/// no UTF-8. Plain ASCII that goes on to the line feed behind the document element needs no trial.
const std::string& loadable(const std::string& xml)
{
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    const bool isPlain = !xml.empty() && xml.back() == '\n' && std::all_of(xml.begin(), xml.end(), isAscii);
    if (!isPlain && CXMLParser::parseFile(xml).isNull())
    {
        throw Poco::DataFormatException("not readable again");
    }
    return xml;
}

} // namespace

CXMLParser::CXMLParser(CQorModelTool& tool, Poco::Logger* logger) : _logger(logger), _tool(tool)
{
    Poco::Path qorPath;
    tool.getQorPath(qorPath);
    _workingConfiguration = CFrameworkPaths(qorPath.toString()).configuration(CFrameworkPaths::Version::WORKING_COPY);
}

CXMLParser::~CXMLParser() = default;

CXMLParser::DocumentPtr CXMLParser::loadXMLDocument(const std::string& path)
{
    std::string content;
    if (readWholeFile(path, content) == ReadResult::FAILED)
    {
        _logger->error("Error opening/reading file");
        return DocumentPtr();
    }
    if (path == _workingConfiguration.toString())
    {
        _workingTextSize = content.size();
    }
    return parseFile(content);
}

CXMLParser::DocumentPtr CXMLParser::parseFile(const std::string& content)
{
    if (isNestedTooDeeply(content))
    {
        return DocumentPtr();
    }
    try
    {
        Poco::XML::DOMParser parser;
        parser.setFeature(Poco::XML::DOMParser::FEATURE_FILTER_WHITESPACE, true);
        parser.setFeature(Poco::XML::XMLReader::FEATURE_NAMESPACES, false);
        return DocumentPtr(parser.parseString(content));
    }
    catch (const Poco::Exception&)
    {
        return DocumentPtr();
    }
}

void CXMLParser::writeXMLFile(const std::string& path, const Document* doc)
{
    const std::string::size_type GROWTH = 4096; // a few handlers more than last time

    try
    {
        Poco::XML::DOMWriter writer;
        writer.setNewLine("\n");
        writer.setOptions(Poco::XML::XMLWriter::PRETTY_PRINT);
        // The writer may give up in the middle of a document, so the file is touched only when all of it is there.
        CTextBuffer buffer(_workingTextSize + GROWTH);
        std::ostream stream(&buffer);
        writer.writeNode(stream, doc);
        // Without memory for all of its text the stream goes bad and the writer goes on.
        if (!stream.good())
        {
            throw Poco::WriteFileException(path);
        }
        _workingTextSize = buffer.text().size();
        writeWholeFile(path, loadable(buffer.text()));
    }
    catch (const Poco::Exception&)
    {
        _logger->information("Unable to wite updated XML file!");
    }
}

void CXMLParser::writeWorkingCopy(const Document* doc)
{
    writeXMLFile(_workingConfiguration.toString(), doc);
}

std::vector<std::string> CXMLParser::getAttributeValueList(Element* element, const std::string& tag,
                                                           const std::string& attribute)
{
    std::vector<std::string> values;
    CElementWalk elements(*element, tag);
    while (const Element* const found = elements.next())
    {
        values.push_back(found->getAttribute(attribute));
    }
    return values;
}

int CXMLParser::countRootEntries(NodeList* nodes)
{
    int count = 0;
    for (const Node* node = nodes->item(0); node != nullptr; node = node->nextSibling())
    {
        count += node->nodeName() == DocumentModel::ROOT ? 1 : 0;
    }
    return count;
}

bool CXMLParser::only_component(Document* doc)
{
    return CElementWalk::only(*doc, DocumentModel::PARTICIPANT) != nullptr;
}

} // namespace QMT
