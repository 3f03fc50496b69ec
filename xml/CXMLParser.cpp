#include "xml/CXMLParser.h"

#include "app/CQorModelTool.h"
#include "base/WholeFile.h"
#include "xml/CElementWalk.h"
#include "xml/CTextBuffer.h"
#include "xml/ConfigurationFile.h"
#include "xml/DocumentDemand.h"
#include "xml/DocumentModel.h"

#include <Poco/DOM/DOMParser.h>
#include <Poco/DOM/DOMWriter.h>
#include <Poco/DOM/Document.h>
#include <Poco/DOM/Element.h>
#include <Poco/DOM/NodeList.h>
#include <Poco/Exception.h>
#include <Poco/Logger.h>
#include <Poco/XML/NamePool.h>
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

/// Whether `xml` can be read again. The writer stops silently at a name that is invalid UTF-8, so re-parse unless the
/// text is plain ASCII up to the line feed after the document element.
bool isLoadable(const std::string& xml)
{
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    const bool isPlain = !xml.empty() && xml.back() == '\n' && std::all_of(xml.begin(), xml.end(), isAscii);
    return isPlain || !CXMLParser::parseFile(xml).isNull();
}

} // namespace

CXMLParser::CXMLParser(CQorModelTool& tool, Poco::Logger* logger) : _logger(logger), _tool(tool)
{
    Poco::Path qorPath;
    tool.getQorPath(qorPath);
    _workingConfiguration = configurationFile(qorPath.toString()).workingCopy;
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
    const std::size_t ADDED_NAMES = 64; // far more than the editor brings into a document

    const std::optional<std::size_t> names = measureNames(content);
    if (!names)
    {
        return DocumentPtr();
    }
    try
    {
        // Twice as many slots as names keep the pool fast.
        auto pool = Poco::makeAuto<Poco::XML::NamePool>(2 * (*names + ADDED_NAMES));
        Poco::XML::DOMParser parser(pool);
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

    bool isWritten = false;
    try
    {
        Poco::XML::DOMWriter writer;
        writer.setNewLine("\n");
        writer.setOptions(Poco::XML::XMLWriter::PRETTY_PRINT);
        // The writer may stop in the middle of a document, so the file is opened only when the text is complete.
        CTextBuffer buffer(_workingTextSize + GROWTH);
        std::ostream stream(&buffer);
        writer.writeNode(stream, doc);
        // When memory runs out, the stream goes bad while the writer continues.
        isWritten = stream.good() && isLoadable(buffer.text()) && writeWholeFile(path, buffer.text());
        _workingTextSize = buffer.text().size();
    }
    catch (const Poco::Exception&) // NOLINT(bugprone-empty-catch): reported below, like a failed write
    {
    }
    if (!isWritten)
    {
        _isAllWritten = false;
        _logger->information("Unable to wite updated XML file!");
    }
}

bool CXMLParser::isAllWritten() const
{
    return _isAllWritten;
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
    for (unsigned long i = 0; const Node* const node = nodes->item(i); ++i)
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
