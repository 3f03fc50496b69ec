#include "ctl/Configuration.h"

#include "xml/CElementWalk.h"
#include "xml/CXMLParser.h"
#include "xml/DocumentModel.h"

#include <Poco/DOM/Document.h>
#include <Poco/DOM/Element.h>

namespace QMT
{

using Poco::XML::Element;
using Poco::XML::Node;

namespace
{

/// The first element named `tag` from `node` on among its siblings, or null.
const Element* findSibling(const Node* node, const std::string& tag)
{
    while (node != nullptr && (node->nodeType() != Node::ELEMENT_NODE || node->nodeName() != tag))
    {
        node = node->nextSibling();
    }
    return static_cast<const Element*>(node);
}

void readInterface(const Element* interface, const std::string& attribute, std::string& value)
{
    if (interface != nullptr)
    {
        value = interface->getAttribute(attribute);
    }
}

Handler readHandler(const Element& participant)
{
    const Node* const child = participant.firstChild();
    const Element* const managedObject = findSibling(child, DocumentModel::MANAGED_OBJECT);
    Handler handler;
    readInterface(managedObject, DocumentModel::COMP_NAME, handler.name);
    readInterface(managedObject, DocumentModel::VERSION, handler.moVersion);
    readInterface(findSibling(child, DocumentModel::TX_RESOURCE), DocumentModel::VERSION, handler.trVersion);
    for (const Element* roots = findSibling(child, DocumentModel::ROOTS); roots != nullptr;
         roots = findSibling(roots->nextSibling(), DocumentModel::ROOTS))
    {
        for (const Element* root = findSibling(roots->firstChild(), DocumentModel::ROOT); root != nullptr;
             root = findSibling(root->nextSibling(), DocumentModel::ROOT))
        {
            handler.rootClasses.push_back(root->getAttribute(DocumentModel::NAME));
        }
    }
    return handler;
}

} // namespace

bool Handler::isPlaceholder() const
{
    return name == DocumentModel::PLACEHOLDER;
}

std::optional<Configuration> readConfiguration(const std::string& text)
{
    CXMLParser::DocumentPtr document = CXMLParser::parseFile(text);
    if (document.isNull())
    {
        return std::nullopt;
    }
    Configuration configuration;
    CElementWalk containers(*document, DocumentModel::PARTICIPANTS);
    while (containers.next() != nullptr)
    {
        ++configuration.containerCount;
    }
    CElementWalk participants(*document, DocumentModel::PARTICIPANT);
    while (const Element* const participant = participants.next())
    {
        configuration.handlers.push_back(readHandler(*participant));
    }
    return configuration;
}

} // namespace QMT
