#include "xml/CXMLParser.h"

#include "app/CQorModelTool.h"
#include "xml/CElementWalk.h"
#include "xml/DocumentModel.h"

#include <Poco/DOM/Document.h>
#include <Poco/DOM/Element.h>
#include <Poco/DOM/NodeList.h>
#include <Poco/Logger.h>

#include <algorithm>

namespace QMT
{

using Poco::XML::Document;
using Poco::XML::Element;
using Poco::XML::Node;
using Poco::XML::NodeList;

/// One call of modifyRoot.
struct CXMLParser::RootEdit
{
    Document* doc;
    const std::string& modelFile;
    CmdEntryAction action;
    std::string handler;
    std::string rootClass;
    bool handlerFound = false;
    bool rootExists = false;
};

/// How the search through the managedObject elements continues after one of them was processed.
enum class CXMLParser::EditProgress
{
    REFUSED,
    HANDLER_REMOVED,
    SEARCH_ON, ///< try the next participant of the same handler
    EDITED
};

namespace
{

const std::string UNREADABLE_MODEL = "Unable to parse and get the root class name from the model file.";

bool hasValue(const Node& node, const std::string& attribute, const std::string& value)
{
    return node.hasAttributes() && static_cast<const Element&>(node).getAttribute(attribute) == value;
}

Node* findChild(const Node& parent, const std::string& tag)
{
    Node* child = parent.firstChild();
    while (child != nullptr && child->nodeName() != tag)
    {
        child = child->nextSibling();
    }
    return child;
}

Node* findRoot(const Node& roots, const std::string& rootClass)
{
    Node* child = roots.firstChild();
    while (child != nullptr && !hasValue(*child, DocumentModel::NAME, rootClass))
    {
        child = child->nextSibling();
    }
    return child;
}

} // namespace

int CXMLParser::modifyRoot(Document* doc, const std::string& modelFile, CmdEntryAction action,
                           const std::string& moVersion, const std::string& trVersion)
{
    RootEdit edit{doc, modelFile, action, std::string(), std::string()};
    _tool.getComponentName(edit.handler);

    CElementWalk managedObjects(*doc, DocumentModel::MANAGED_OBJECT);
    EditProgress progress = EditProgress::SEARCH_ON;
    while (progress == EditProgress::SEARCH_ON)
    {
        const Element* const managedObject = managedObjects.next();
        if (managedObject == nullptr)
        {
            break;
        }
        if (hasValue(*managedObject, DocumentModel::COMP_NAME, edit.handler))
        {
            progress = editHandler(edit, *managedObject);
        }
    }
    if (progress == EditProgress::REFUSED)
    {
        return FAILURE;
    }
    return progress == EditProgress::HANDLER_REMOVED ? SUCCESS : finishEdit(edit, moVersion, trVersion);
}

CXMLParser::EditProgress CXMLParser::editHandler(RootEdit& edit, const Element& managedObject)
{
    _logger->information("Found handler: " + edit.handler);
    Node* const participant = managedObject.parentNode();
    if (participant->nodeName() != DocumentModel::PARTICIPANT)
    {
        _logger->warning("Unable to find the participant entry!");
        return EditProgress::REFUSED;
    }
    if (edit.action == CmdEntryAction::ENTRY_REMOVE_HANDLER)
    {
        const int removed = removeModelHandler(edit.doc, participant, edit.handler);
        return removed == SUCCESS ? EditProgress::HANDLER_REMOVED : EditProgress::REFUSED;
    }
    edit.handlerFound = true;
    Node* const roots = findChild(*participant, DocumentModel::ROOTS);
    return roots == nullptr ? EditProgress::SEARCH_ON : editRoots(edit, *roots);
}

CXMLParser::EditProgress CXMLParser::editRoots(RootEdit& edit, Node& roots)
{
    const int result = getRootClassName(edit.modelFile, edit.rootClass);
    if (result == FAILURE)
    {
        _logger->information(UNREADABLE_MODEL);
        return EditProgress::REFUSED;
    }
    Node* const root = result == NO_ROOT_CLASS ? nullptr : findRoot(roots, edit.rootClass);
    edit.rootExists = root != nullptr;
    return edit.action == CmdEntryAction::ENTRY_ADD ? addRoot(edit, roots) : removeRoot(edit, roots, root);
}

CXMLParser::EditProgress CXMLParser::addRoot(const RootEdit& edit, Node& roots)
{
    if (edit.rootExists)
    {
        _logger->information("Root element " + edit.rootClass + " already exist in " + edit.handler +
                             "\nSkipping add.");
    }
    else
    {
        Poco::AutoPtr<Element> root = edit.doc->createElement(DocumentModel::ROOT);
        root->setAttribute(DocumentModel::NAME, edit.rootClass);
        roots.appendChild(root);
    }
    return EditProgress::EDITED;
}

CXMLParser::EditProgress CXMLParser::removeRoot(RootEdit& edit, Node& roots, Node* root)
{
    if (root == nullptr)
    {
        _logger->information("Unable to find root entry " + edit.rootClass + " in " + edit.handler);
        return EditProgress::SEARCH_ON;
    }
    const bool isLast = countRootEntries(Poco::AutoPtr<NodeList>(roots.childNodes())) == 1;
    if (isLast && only_component(edit.doc))
    {
        _logger->information("Unable to remove root entry");
        return EditProgress::REFUSED;
    }
    roots.removeChild(root);
    writeWorkingCopy(edit.doc);
    _logger->information("Removed root entry " + edit.rootClass + " from " + edit.handler);
    if (isLast)
    {
        removeModelHandler(edit.doc, roots.parentNode(), edit.handler);
    }
    return EditProgress::EDITED;
}

int CXMLParser::finishEdit(RootEdit& edit, const std::string& moVersion, const std::string& trVersion)
{
    if (edit.action == CmdEntryAction::ENTRY_REMOVE_HANDLER)
    {
        _logger->information("Unable to locate and remove handler: " + edit.handler + " from qor.cfg");
        return SUCCESS;
    }
    if (edit.action == CmdEntryAction::ENTRY_ADD && !edit.handlerFound)
    {
        if (getRootClassName(edit.modelFile, edit.rootClass) == FAILURE)
        {
            return FAILURE;
        }
        const int added = addHandler(*edit.doc, edit.handler, edit.rootClass, moVersion, trVersion);
        // A model without a root class needs no handler; with one, the document has no participants element.
        if (added == FAILURE && !edit.rootClass.empty())
        {
            return FAILURE;
        }
    }
    if (!edit.rootExists)
    {
        writeWorkingCopy(edit.doc);
    }
    return SUCCESS;
}

int CXMLParser::existsRoot(Document* doc, const std::string& modelFile, bool& found, std::string& handlerName)
{
    found = false;
    std::string rootClass;
    const int result = getRootClassName(modelFile, rootClass);
    if (result == FAILURE)
    {
        _logger->information(UNREADABLE_MODEL);
    }
    if (result != SUCCESS)
    {
        return result;
    }
    Element* const participants = CElementWalk::only(*doc, DocumentModel::PARTICIPANTS);
    found = participants != nullptr && findServingHandler(*participants, rootClass, handlerName);
    return SUCCESS;
}

bool CXMLParser::findServingHandler(Node& participants, const std::string& rootClass, std::string& handlerName)
{
    CElementWalk walk(participants, DocumentModel::PARTICIPANT);
    while (Element* const participant = walk.next())
    {
        if (!servesRoot(*participant, rootClass))
        {
            continue;
        }
        const Element* const managedObject = CElementWalk::first(*participant, DocumentModel::MANAGED_OBJECT);
        if (managedObject != nullptr)
        {
            handlerName = managedObject->getAttribute(DocumentModel::COMP_NAME);
            _logger->information("Model handler : " + handlerName + " for Root element: " + rootClass +
                                 " already exists");
        }
        return true;
    }
    return false;
}

bool CXMLParser::servesRoot(Element& participant, const std::string& rootClass)
{
    Element* const roots = CElementWalk::only(participant, DocumentModel::ROOTS);
    if (roots == nullptr)
    {
        return false;
    }
    const std::vector<std::string> names = getAttributeValueList(roots, DocumentModel::ROOT, DocumentModel::NAME);
    return std::find(names.begin(), names.end(), rootClass) != names.end();
}

} // namespace QMT
