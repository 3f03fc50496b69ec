#include "app/CQorModelTool.h"

#include "impl/CQorModelToolImpl.h"
#include "impl/JoinedText.h"
#include "xml/CXMLParser.h"

#include <Poco/Logger.h>

namespace QMT
{

namespace
{

std::string entryText(const std::vector<std::string>& fields)
{
    return joinedText(fields, std::string(1, FIELD_SEPARATOR));
}

std::string withVersions(const std::string& handler, const std::string& moVersion, const std::string& trVersion)
{
    return "--modelHandler=" + handler + " --managedObjectVersion=" + moVersion +
           " --transactionalResourceVersion=" + trVersion;
}

} // namespace

void CQorModelTool::completeNewestEntry()
{
    const CommandLine& request = _impl->commandLine();
    CommandQueueEntry& entry = _impl->queue().front();
    switch (entry.first)
    {
    case CmdID::ModelHandler:
        entry.second = entryText({request.modelHandler, _impl->moVersion(), _impl->trVersion()});
        break;
    case CmdID::AddModelFileWithHandler:
    case CmdID::RemoveModelFileWithHandler:
        entry.second = entryText({request.modelFile, request.modelHandler, _impl->moVersion(), _impl->trVersion()});
        break;
    case CmdID::AddModelFile:
    case CmdID::RemoveModelFile:
        break;
    }
}

std::string CQorModelTool::statusLine(CmdID kind, const std::string& text)
{
    std::string path;
    std::string handler;
    std::string moVersion;
    std::string trVersion;
    // A text that does not split has been reported; its line shows the fields as empty.
    switch (kind)
    {
    case CmdID::AddModelFile:
        return "--addModelFile=" + text;
    case CmdID::ModelHandler:
        static_cast<void>(_impl->extractHandlerMoVerTrVer(text, handler, moVersion, trVersion));
        return withVersions(handler, moVersion, trVersion);
    case CmdID::RemoveModelFile:
        return "--removeModelFile=" + text;
    case CmdID::AddModelFileWithHandler:
        static_cast<void>(_impl->extractCommandHandlerMoVerTrVer(text, path, handler, moVersion, trVersion));
        return "--addModelFile=" + path + " " + withVersions(handler, moVersion, trVersion);
    case CmdID::RemoveModelFileWithHandler:
        static_cast<void>(_impl->extractCommandHandlerMoVerTrVer(text, path, handler, moVersion, trVersion));
        return "--removeModelFile=" + path + " --modelHandler=" + handler;
    }
    return text;
}

std::string CQorModelTool::stagingLine(CmdID kind, const std::string& text)
{
    // Only here does the line of a handler alone begin with a blank, and that of an unknown kind say nothing: the
    // newest entry is another host's when --status has listed its session after the staging option.
    switch (kind)
    {
    case CmdID::ModelHandler:
        return " " + statusLine(kind, text);
    case CmdID::AddModelFile:
    case CmdID::RemoveModelFile:
    case CmdID::AddModelFileWithHandler:
    case CmdID::RemoveModelFileWithHandler:
        return statusLine(kind, text);
    }
    return std::string();
}

CXMLParser& CQorModelTool::editor()
{
    return *_impl->parser();
}

CQorModelTool::ActionResult CQorModelTool::apply(CmdID kind, const std::string& text, Poco::XML::Document* document)
{
    switch (kind)
    {
    case CmdID::AddModelFile:
        return applyAddition(text);
    case CmdID::ModelHandler:
        return applyHandler(text, document);
    case CmdID::RemoveModelFile:
        return applyRemoval(text);
    case CmdID::AddModelFileWithHandler:
        return applyAdditionWithHandler(text, document);
    case CmdID::RemoveModelFileWithHandler:
        return applyRemovalWithHandler(text, document);
    }
    return ActionResult::APPLIED;
}

CQorModelTool::ActionResult CQorModelTool::applyAddition(const std::string& path)
{
    bool alreadyListed = false;
    return _impl->addModelFileEntry(path, alreadyListed) ? ActionResult::ADDED : ActionResult::FAILED;
}

CQorModelTool::ActionResult CQorModelTool::applyHandler(const std::string& text, Poco::XML::Document* document)
{
    std::string& handler = _impl->componentName();
    std::string& moVersion = _impl->moVersion();
    std::string& trVersion = _impl->trVersion();
    const bool applied =
        _impl->extractHandlerMoVerTrVer(text, handler, moVersion, trVersion) &&
        editor().verifySetDefaultComponent(document, "", handler, moVersion, trVersion) != CXMLParser::FAILURE;
    return applied ? ActionResult::APPLIED : ActionResult::FAILED;
}

CQorModelTool::ActionResult CQorModelTool::applyRemoval(const std::string& path)
{
    removeFromList(path, "Unable to find model file, skipping removal.", "Model file entry missing, skipping removal.");
    return ActionResult::APPLIED;
}

CQorModelTool::ActionResult CQorModelTool::applyAdditionWithHandler(const std::string& text,
                                                                    Poco::XML::Document* document)
{
    std::string path;
    std::string& handler = _impl->componentName();
    std::string& moVersion = _impl->moVersion();
    std::string& trVersion = _impl->trVersion();
    const bool registered =
        _impl->extractCommandHandlerMoVerTrVer(text, path, handler, moVersion, trVersion) &&
        editor().verifySetDefaultComponent(document, path, handler, moVersion, trVersion) != CXMLParser::FAILURE;
    return registered ? applyAddition(path) : ActionResult::FAILED;
}

CQorModelTool::ActionResult CQorModelTool::applyRemovalWithHandler(const std::string& text,
                                                                   Poco::XML::Document* document)
{
    std::string path;
    std::string& moVersion = _impl->moVersion();
    std::string& trVersion = _impl->trVersion();
    const bool removed =
        _impl->extractCommandHandlerMoVerTrVer(text, path, _impl->componentName(), moVersion, trVersion) &&
        editor().modifyRoot(document, path, CmdEntryAction::ENTRY_REMOVE_ROOT, moVersion, trVersion) !=
            CXMLParser::FAILURE;
    if (!removed)
    {
        return ActionResult::FAILED;
    }
    removeFromList(path, "Unable to find modelfile, skipping removal.", "Modelfile entry missing, skipping removal.");
    return ActionResult::APPLIED;
}

void CQorModelTool::removeFromList(const std::string& path, const std::string& missingFile,
                                   const std::string& missingEntry)
{
    if (!CQorModelToolImpl::verifyFileExist(path))
    {
        _logger->information(missingFile);
    }
    else if (_impl->verifyModelFileEntry(path))
    {
        _logger->information(missingEntry);
    }
    else
    {
        _impl->removeModelFileEntry(path);
    }
}

} // namespace QMT
