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
using Poco::XML::Node;

namespace
{

using ElementPtr = Poco::AutoPtr<Element>;

ElementPtr createInterface(Document& doc, const std::string& tag, const std::string& compName,
                           const std::string& ifName, const std::string& version)
{
    ElementPtr interface = doc.createElement(tag);
    interface->setAttribute(DocumentModel::COMP_NAME, compName);
    interface->setAttribute(DocumentModel::IF_NAME, ifName);
    interface->setAttribute(DocumentModel::VERSION, version);
    return interface;
}

ElementPtr createRoots(Document& doc, const std::string& rootClass)
{
    ElementPtr roots = doc.createElement(DocumentModel::ROOTS);
    ElementPtr root = doc.createElement(DocumentModel::ROOT);
    root->setAttribute(DocumentModel::NAME, rootClass);
    roots->appendChild(root);
    return roots;
}

} // namespace

int CXMLParser::addHandler(Document& doc, const std::string& compName, const std::string& rootClass,
                           const std::string& moVersion, const std::string& trVersion)
{
    if (rootClass.empty())
    {
        _logger->information("cannot add model file without root class to qor.cfg");
        return FAILURE;
    }
    Element* const participants = CElementWalk::first(doc, DocumentModel::PARTICIPANTS);
    if (participants == nullptr)
    {
        _logger->error("Unable to find the participants entry!");
        return FAILURE;
    }
    ElementPtr participant = doc.createElement(DocumentModel::PARTICIPANT);
    participant->appendChild(createRoots(doc, rootClass));
    participant->appendChild(
        createInterface(doc, DocumentModel::MANAGED_OBJECT, compName, "PelOamSpiManagedObject", moVersion));
    participant->appendChild(
        createInterface(doc, DocumentModel::TX_RESOURCE, compName, "PelOamSpiTransactionalResource", trVersion));
    participants->appendChild(participant);
    _logger->information("Adding new handler: " + compName + " with root class: " + rootClass);
    return SUCCESS;
}

int CXMLParser::removeModelHandler(Document* doc, Node* participant, const std::string& handler)
{
    if (only_component(doc))
    {
        _logger->information("Unable to remove handle as this is the last entry");
        return FAILURE;
    }
    participant->parentNode()->removeChild(participant);
    writeWorkingCopy(doc);
    _logger->information("Removed handler: " + handler);
    return SUCCESS;
}

int CXMLParser::removeModelHandler(Document* doc, const std::string& handler)
{
    if (only_component(doc))
    {
        _logger->information(handler + " is the only handler left. Unable to remove.");
        return FAILURE;
    }
    return modifyRoot(doc, std::string(), CmdEntryAction::ENTRY_REMOVE_HANDLER, std::string(), std::string());
}

} // namespace QMT
