#include "impl/CQorModelToolImpl.h"

#include "xml/CXMLParser.h"

#include <Poco/DOM/Document.h>
#include <Poco/Logger.h>

namespace QMT
{

using Poco::XML::Document;

Poco::AutoPtr<Document> CQorModelToolImpl::loadWorkingCopy()
{
    const std::string path = paths().configuration().workingCopy;
    Poco::AutoPtr<Document> document;
    // Without a valid environment there is no editor.
    if (_parser)
    {
        document = _parser->loadXMLDocument(path);
    }
    if (document.isNull())
    {
        _logger->critical("Unable to parse XML file: " + path);
    }
    return document;
}

QueueResult CQorModelToolImpl::applyQueue(Document* document)
{
    QueueResult result;
    while (!_queue.empty())
    {
        const ActionResult applied = apply(_queue.back(), document);
        result.needsValidation = result.needsValidation || applied == ActionResult::ADDED;
        result.failed = result.failed || applied == ActionResult::FAILED;
        _queue.pop_back();
    }
    return result;
}

ActionResult CQorModelToolImpl::apply(const CommandQueueEntry& entry, Document* document)
{
    Action action;
    if (!splitEntry(entry, action))
    {
        return ActionResult::FAILED;
    }
    switch (action.kind)
    {
    case CmdID::AddModelFile:
        return addToList(action.path);
    case CmdID::RemoveModelFile:
        removeFromList(action.path, "Unable to find model file, skipping removal.",
                       "Model file entry missing, skipping removal.");
        return ActionResult::APPLIED;
    case CmdID::ModelHandler:
    case CmdID::AddModelFileWithHandler:
        return applyHandler(action, document);
    case CmdID::RemoveModelFileWithHandler:
        return applyRemovalWithHandler(action, document);
    }
    return ActionResult::APPLIED;
}

ActionResult CQorModelToolImpl::addToList(const std::string& path)
{
    bool alreadyListed = false;
    return addModelFileEntry(path, alreadyListed) ? ActionResult::ADDED : ActionResult::FAILED;
}

ActionResult CQorModelToolImpl::applyHandler(const Action& action, Document* document)
{
    workOn(action);
    if (_parser->verifySetDefaultComponent(document, action.path, action.handler, action.moVersion, action.trVersion) ==
        CXMLParser::FAILURE)
    {
        return ActionResult::FAILED;
    }
    return action.kind == CmdID::ModelHandler ? ActionResult::APPLIED : addToList(action.path);
}

ActionResult CQorModelToolImpl::applyRemovalWithHandler(const Action& action, Document* document)
{
    workOn(action);
    if (_parser->modifyRoot(document, action.path, CmdEntryAction::ENTRY_REMOVE_ROOT, action.moVersion,
                            action.trVersion) == CXMLParser::FAILURE)
    {
        return ActionResult::FAILED;
    }
    removeFromList(action.path, "Unable to find modelfile, skipping removal.",
                   "Modelfile entry missing, skipping removal.");
    return ActionResult::APPLIED;
}

void CQorModelToolImpl::workOn(const Action& action)
{
    _componentName = action.handler;
    _moVersion = action.moVersion;
    _trVersion = action.trVersion;
}

void CQorModelToolImpl::removeFromList(const std::string& path, const std::string& missingFile,
                                       const std::string& missingEntry)
{
    if (!verifyFileExist(path))
    {
        _logger->information(missingFile);
    }
    else if (verifyModelFileEntry(path))
    {
        _logger->information(missingEntry);
    }
    else
    {
        removeModelFileEntry(path);
    }
}

} // namespace QMT
