#include "xml/CXMLParser.h"

#include "xml/CElementWalk.h"
#include "xml/DocumentModel.h"

#include <Poco/DOM/Document.h>
#include <Poco/DOM/Element.h>
#include <Poco/Logger.h>

namespace QMT
{

using Poco::XML::Document;
using Poco::XML::Element;

namespace
{

bool isPlaceholder(const Element* interface)
{
    return interface != nullptr && interface->getAttribute(DocumentModel::COMP_NAME) == DocumentModel::PLACEHOLDER;
}

void assign(Element& interface, const std::string& handler, const std::string& version)
{
    interface.setAttribute(DocumentModel::COMP_NAME, handler);
    interface.setAttribute(DocumentModel::VERSION, version);
}

} // namespace

int CXMLParser::verifySetDefaultComponent(Document* doc, const std::string& modelFile, const std::string& handler,
                                          const std::string& moVersion, const std::string& trVersion)
{
    Element* const managedObject = CElementWalk::first(*doc, DocumentModel::MANAGED_OBJECT);
    if (managedObject == nullptr)
    {
        return FAILURE;
    }
    if (isPlaceholder(managedObject))
    {
        takeOverPlaceholder(doc, *managedObject, handler, moVersion, trVersion);
        if (!modelFile.empty())
        {
            static_cast<void>(modifyRoot(doc, modelFile, CmdEntryAction::ENTRY_ADD, moVersion, trVersion));
        }
        return SUCCESS;
    }
    if (modelFile.empty())
    {
        _logger->information("Default model handler not found, ignoring modelHandler update!");
        return FAILURE;
    }
    return addUnservedRoot(doc, modelFile, handler, moVersion, trVersion);
}

void CXMLParser::takeOverPlaceholder(Document* doc, Element& managedObject, const std::string& handler,
                                     const std::string& moVersion, const std::string& trVersion)
{
    assign(managedObject, handler, moVersion);
    _logger->information("Replaced default QOR component tag with: " + handler);
    Element* const txResource = CElementWalk::first(*doc, DocumentModel::TX_RESOURCE);
    if (isPlaceholder(txResource))
    {
        assign(*txResource, handler, trVersion);
        writeWorkingCopy(doc);
    }
}

int CXMLParser::addUnservedRoot(Document* doc, const std::string& modelFile, const std::string& handler,
                                const std::string& moVersion, const std::string& trVersion)
{
    bool found = false;
    std::string servingHandler;
    const int result = existsRoot(doc, modelFile, found, servingHandler);
    if (result == FAILURE)
    {
        _logger->information("Aborting");
        return FAILURE;
    }
    if (result == NO_ROOT_CLASS)
    {
        return SUCCESS;
    }
    if (found)
    {
        return servingHandler == handler ? SUCCESS : FAILURE;
    }
    if (modifyRoot(doc, modelFile, CmdEntryAction::ENTRY_ADD, moVersion, trVersion) == FAILURE)
    {
        _logger->information("Invalid model file: " + modelFile + "\nAborting.");
        return FAILURE;
    }
    return SUCCESS;
}

} // namespace QMT
