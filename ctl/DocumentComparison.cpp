#include "ctl/DocumentComparison.h"

#include "xml/CElementWalk.h"
#include "xml/CXMLParser.h"
#include "xml/DocumentModel.h"

#include <Poco/DOM/DOMWriter.h>
#include <Poco/DOM/Document.h>
#include <Poco/DOM/Element.h>
#include <Poco/XML/XMLWriter.h>

#include <algorithm>
#include <optional>
#include <sstream>

namespace QMT
{

namespace
{

/// The document's text without the contents of `participants`; nothing when it cannot be parsed.
std::optional<std::string> withoutParticipants(const std::string& text)
{
    CXMLParser::DocumentPtr document = CXMLParser::parseFile(text);
    if (document.isNull())
    {
        return std::nullopt;
    }
    CElementWalk containers(*document, DocumentModel::PARTICIPANTS);
    while (Poco::XML::Element* const container = containers.next())
    {
        while (container->firstChild() != nullptr)
        {
            container->removeChild(container->firstChild());
        }
    }
    std::ostringstream rest;
    Poco::XML::DOMWriter writer;
    writer.setOptions(Poco::XML::XMLWriter::PRETTY_PRINT);
    writer.writeNode(rest, document);
    return rest.str();
}

} // namespace

bool differInParticipantsOnly(const std::string& one, const std::string& other)
{
    const std::optional<std::string> rest = withoutParticipants(one);
    return rest && rest == withoutParticipants(other);
}

bool servesRootClass(const std::string& configuration, const std::string& rootClass)
{
    const CXMLParser::DocumentPtr document = CXMLParser::parseFile(configuration);
    if (document.isNull())
    {
        return false;
    }
    const std::vector<std::string> served =
        CXMLParser::getAttributeValueList(document->documentElement(), DocumentModel::ROOT, DocumentModel::NAME);
    return std::find(served.begin(), served.end(), rootClass) != served.end();
}

} // namespace QMT
