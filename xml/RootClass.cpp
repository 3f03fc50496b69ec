#include "xml/CXMLParser.h"

#include "xml/CElementWalk.h"
#include "xml/DocumentModel.h"

#include <Poco/DOM/Document.h>
#include <Poco/DOM/Element.h>
#include <Poco/Logger.h>

namespace QMT
{

using Poco::XML::Element;

int CXMLParser::getRootClassName(const std::string& modelFile, std::string& rootClass)
{
    DocumentPtr model = loadXMLDocument(modelFile);
    if (model.isNull())
    {
        return FAILURE;
    }
    const Element* const root = CElementWalk::first(*model, DocumentModel::ROOT);
    if (root == nullptr)
    {
        _logger->information("Unable to locate root class in model file.");
        return NO_ROOT_CLASS;
    }
    // Above the document element stands the document, which has no attributes.
    const auto* const owner = dynamic_cast<const Element*>(root->parentNode());
    rootClass = owner == nullptr ? std::string() : owner->getAttribute(DocumentModel::NAME);
    if (rootClass.empty())
    {
        _logger->information("Invalid component name!\nAborting.");
        return FAILURE;
    }
    return SUCCESS;
}

} // namespace QMT
