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
    const int result = findRootClass(*model, rootClass);
    if (result == NO_ROOT_CLASS)
    {
        _logger->information("Unable to locate root class in model file.");
    }
    else if (result == FAILURE)
    {
        _logger->information("Invalid component name!\nAborting.");
    }
    return result;
}

int CXMLParser::findRootClass(Poco::XML::Document& model, std::string& rootClass)
{
    const Element* const root = CElementWalk::first(model, DocumentModel::ROOT);
    if (root == nullptr)
    {
        return NO_ROOT_CLASS;
    }
    // The parent of the document element is the document, which has no attributes.
    const auto* const owner = dynamic_cast<const Element*>(root->parentNode());
    rootClass = owner == nullptr ? std::string() : owner->getAttribute(DocumentModel::NAME);
    return rootClass.empty() ? FAILURE : SUCCESS;
}

} // namespace QMT
