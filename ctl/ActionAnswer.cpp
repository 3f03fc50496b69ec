#include "ctl/ActionAnswer.h"

#include "ctl/Answer.h"
#include "ctl/PrintedText.h"
#include "ctl/SilentLogger.h"
#include "impl/CQorModelToolImpl.h"

#include <optional>

namespace QMT
{

using Poco::JSON::Object;

namespace
{

/// The name of a kind, or the number of an unknown one.
std::string nameOf(CmdID kind)
{
    switch (kind)
    {
    case CmdID::AddModelFile:
        return "AddModelFile";
    case CmdID::ModelHandler:
        return "ModelHandler";
    case CmdID::RemoveModelFile:
        return "RemoveModelFile";
    case CmdID::AddModelFileWithHandler:
        return "AddModelFileWithHandler";
    case CmdID::RemoveModelFileWithHandler:
        return "RemoveModelFileWithHandler";
    }
    return std::to_string(static_cast<std::int32_t>(kind));
}

bool hasFile(CmdID kind)
{
    return kind != CmdID::ModelHandler;
}

/// The fields of an entry; nothing when its kind is unknown or its text lacks separators.
std::optional<Action> fieldsOf(const CommandQueueEntry& entry)
{
    const bool isSingleField = entry.first == CmdID::AddModelFile || entry.first == CmdID::RemoveModelFile;
    const bool hasFields = hasHandler(entry.first) && entry.second.find(FIELD_SEPARATOR) != std::string::npos;
    if (!isSingleField && !hasFields)
    {
        return std::nullopt;
    }
    Action action;
    const bool isSplit = CQorModelToolImpl(&silentLogger()).splitEntry(entry, action);
    return isSplit ? std::optional<Action>(action) : std::nullopt;
}

} // namespace

Object::Ptr actionKeys(const Action& action)
{
    Object::Ptr keys = newObject();
    keys->set("kind", nameOf(action.kind));
    if (hasFile(action.kind))
    {
        keys->set("file", action.path);
    }
    if (hasHandler(action.kind))
    {
        keys->set("handler", action.handler);
        keys->set("managedObjectVersion", action.moVersion);
        keys->set("transactionalResourceVersion", action.trVersion);
    }
    return keys;
}

Object::Ptr actionKeys(const CommandQueueEntry& entry)
{
    if (const std::optional<Action> action = fieldsOf(entry))
    {
        return actionKeys(*action);
    }
    Object::Ptr keys = newObject();
    keys->set("kind", nameOf(entry.first));
    keys->set("text", entry.second);
    return keys;
}

std::string actionLine(const CommandQueueEntry& entry)
{
    if (const std::optional<Action> action = fieldsOf(entry))
    {
        return printable(action->statusLine());
    }
    return printable(nameOf(entry.first) + ": " + entry.second);
}

} // namespace QMT
