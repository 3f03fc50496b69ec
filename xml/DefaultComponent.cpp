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

/// The arguments of one call of verifySetDefaultComponent.
struct CXMLParser::Registration
{
    Document* doc;
    const std::string& modelFile;
    const std::string& handler;
    const std::string& moVersion;
    const std::string& trVersion;
};

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
    const Registration registration = {doc, modelFile, handler, moVersion, trVersion};
    if (isPlaceholder(managedObject))
    {
        takeOverPlaceholder(registration, *managedObject);
        return SUCCESS;
    }
    if (modelFile.empty())
    {
        _logger->information("Default model handler not found, ignoring modelHandler update!");
        return FAILURE;
    }
    return addUnservedRoot(registration);
}

void CXMLParser::takeOverPlaceholder(const Registration& registration, Element& managedObject)
{
    assign(managedObject, registration.handler, registration.moVersion);
    _logger->information("Replaced default QOR component tag with: " + registration.handler);
    Element* const txResource = CElementWalk::first(*registration.doc, DocumentModel::TX_RESOURCE);
    if (isPlaceholder(txResource))
    {
        assign(*txResource, registration.handler, registration.trVersion);
        writeWorkingCopy(registration.doc);
    }
    if (!registration.modelFile.empty())
    {
        static_cast<void>(addRootEntry(registration));
    }
}

int CXMLParser::addUnservedRoot(const Registration& registration)
{
    bool found = false;
    std::string servingHandler;
    const int result = existsRoot(registration.doc, registration.modelFile, found, servingHandler);
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
        return servingHandler == registration.handler ? SUCCESS : FAILURE;
    }
    if (addRootEntry(registration) == FAILURE)
    {
        _logger->information("Invalid model file: " + registration.modelFile + "\nAborting.");
        return FAILURE;
    }
    return SUCCESS;
}

int CXMLParser::addRootEntry(const Registration& registration)
{
    return modifyRoot(registration.doc, registration.modelFile, CmdEntryAction::ENTRY_ADD, registration.moVersion,
                      registration.trVersion);
}

} // namespace QMT
