#include "ctl/Service.h"

#include "xml/CElementWalk.h"
#include "xml/CXMLParser.h"
#include "xml/DocumentModel.h"

#include <Poco/DOM/Document.h>
#include <Poco/DOM/Element.h>

#include <algorithm>
#include <vector>

namespace QMT
{

using Poco::XML::Document;
using Poco::XML::Element;

namespace
{

bool hasRoot(Element& participant, const std::string& rootClass)
{
    CElementWalk containers(participant, DocumentModel::ROOTS);
    while (Element* const roots = containers.next())
    {
        CElementWalk entries(*roots, DocumentModel::ROOT);
        while (const Element* const root = entries.next())
        {
            if (root->getAttribute(DocumentModel::NAME) == rootClass)
            {
                return true;
            }
        }
    }
    return false;
}

} // namespace

Service serviceOf(Document& document, const std::string& handler, const std::string& rootClass)
{
    Service service;
    CElementWalk managedObjects(document, DocumentModel::MANAGED_OBJECT);
    bool isFirst = true;
    while (const Element* const managedObject = managedObjects.next())
    {
        const std::string& name = managedObject->getAttribute(DocumentModel::COMP_NAME);
        service.isPlaceholderFirst = service.isPlaceholderFirst || (isFirst && name == DocumentModel::PLACEHOLDER);
        service.isHandlerKnown = service.isHandlerKnown || name == handler;
        isFirst = false;
    }
    CElementWalk participants(document, DocumentModel::PARTICIPANT);
    while (Element* const participant = rootClass.empty() ? nullptr : participants.next())
    {
        if (!hasRoot(*participant, rootClass))
        {
            continue;
        }
        const std::vector<std::string> names =
            CXMLParser::getAttributeValueList(participant, DocumentModel::MANAGED_OBJECT, DocumentModel::COMP_NAME);
        if (std::find(names.begin(), names.end(), handler) != names.end())
        {
            service.isByHandler = true;
        }
        else
        {
            service.other = names.empty() ? std::string() : names.front();
        }
    }
    return service;
}

} // namespace QMT
