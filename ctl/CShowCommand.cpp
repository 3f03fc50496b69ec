#include "ctl/CShowCommand.h"

#include "ctl/ActionAnswer.h"
#include "ctl/AlignedRows.h"
#include "ctl/FrameworkSummary.h"
#include "ctl/PrintedText.h"

#include <Poco/JSON/Array.h>
#include <Poco/String.h>

namespace QMT
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;

namespace
{

using Names = std::vector<std::string>;

bool mayExist(ModelState state)
{
    return state != ModelState::MISSING && state != ModelState::RELATIVE;
}

// ---- JSON ----

Var modelKeys(const std::optional<std::vector<ServedModel>>& models)
{
    if (!models)
    {
        return Var();
    }
    Array::Ptr array = Poco::makeShared<Array>();
    for (const ServedModel& served : *models)
    {
        const bool hasRootClass = served.model.state == ModelState::READ;
        Object::Ptr keys = newObject();
        keys->set("file", served.model.file);
        keys->set("exists", mayExist(served.model.state));
        keys->set("rootClass", hasRootClass ? Var(served.model.rootClass) : Var());
        keys->set("handlers", arrayOf(served.handlers));
        array->add(keys);
    }
    return array;
}

Var handlerKeys(const std::optional<Configuration>& configuration)
{
    if (!configuration)
    {
        return Var();
    }
    Array::Ptr handlers = Poco::makeShared<Array>();
    for (const Handler& handler : configuration->handlers)
    {
        Object::Ptr keys = newObject();
        keys->set("name", handler.name);
        keys->set("placeholder", handler.isPlaceholder());
        keys->set("managedObjectVersion", handler.moVersion);
        keys->set("transactionalResourceVersion", handler.trVersion);
        keys->set("rootClasses", arrayOf(handler.rootClasses));
        handlers->add(keys);
    }
    return handlers;
}

Var sessionKeys(const std::optional<SessionSummary>& session)
{
    if (!session)
    {
        return Var();
    }
    Array::Ptr actions = Poco::makeShared<Array>();
    for (const CommandQueueEntry& entry : session->actions)
    {
        actions->add(actionKeys(entry));
    }
    Object::Ptr keys = newObject();
    keys->set("host", session->owner.host.empty() ? Var() : Var(session->owner.host));
    keys->set("thisHost", session->owner.isThisHost);
    if (session->owner.isApply)
    {
        keys->set("apply", true);
    }
    keys->set("since", session->since);
    keys->set("actions", actions);
    return keys;
}

Var backupKeys(const std::optional<std::string>& since)
{
    if (!since)
    {
        return Var();
    }
    Object::Ptr keys = newObject();
    keys->set("since", *since);
    return keys;
}

Object keysOf(const Var& models, const Var& handlers, const Var& session, const Var& backup)
{
    Object keys(Poco::JSON_PRESERVE_KEY_ORDER);
    keys.set("models", models);
    keys.set("handlers", handlers);
    keys.set("session", session);
    keys.set("backup", backup);
    return keys;
}

// ---- Text ----

using Rows = std::vector<std::vector<std::string>>;

std::string joined(const Names& names)
{
    return printable(Poco::cat(std::string(", "), names.begin(), names.end()));
}

std::string counted(std::size_t count, const std::string& what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string rootClassText(const InstalledModel& model)
{
    switch (model.state)
    {
    case ModelState::READ:
        return printable(model.rootClass);
    case ModelState::ROOTLESS:
        return "(no root class)";
    case ModelState::NAMELESS:
        return "(root class without a name)";
    case ModelState::MALFORMED:
        return "(not well-formed)";
    case ModelState::UNREADABLE:
        return "(cannot be read)";
    case ModelState::MISSING:
        return "(missing)";
    case ModelState::RELATIVE:
        break;
    }
    return "(no absolute path)";
}

std::string modelText(const std::optional<std::vector<ServedModel>>& models)
{
    if (!models)
    {
        return "models: unknown\n";
    }
    Rows rows;
    for (const ServedModel& served : *models)
    {
        rows.push_back({printable(served.model.file), rootClassText(served.model), joined(served.handlers)});
    }
    return counted(rows.size(), "model") + "\n" + alignedRows(rows);
}

std::string handlerText(const std::optional<Configuration>& configuration)
{
    if (!configuration)
    {
        return "handlers: unknown\n";
    }
    Rows rows;
    for (const Handler& handler : configuration->handlers)
    {
        rows.push_back({printable(handler.name), printable("versions " + handler.moVersion + ", " + handler.trVersion),
                        handler.isPlaceholder() ? "placeholder" : "", joined(handler.rootClasses)});
    }
    return counted(rows.size(), "handler") + "\n" + alignedRows(rows);
}

std::string sessionText(const std::optional<SessionSummary>& session)
{
    if (!session)
    {
        return "no session\n";
    }
    const SessionOwner& owner = session->owner;
    std::string text = "session of " + std::string(owner.isApply ? "an apply on " : "");
    text += owner.host.empty() ? "an unknown host" : printable(owner.host);
    text += std::string(owner.isThisHost ? ", this host" : "") + ", since " + session->since + ", ";
    text += counted(session->actions.size(), "action") + "\n";
    for (const CommandQueueEntry& entry : session->actions)
    {
        text += "  " + actionLine(entry) + "\n";
    }
    return text;
}

std::string backupText(const std::optional<std::string>& since)
{
    if (!since)
    {
        return "no backup\n";
    }
    return "backup of " + *since + "\n";
}

} // namespace

std::string CShowCommand::name() const
{
    return "show";
}

std::string CShowCommand::summary() const
{
    return "Show what is installed, who serves it, and whose session is open.";
}

Object CShowCommand::keysOfFailure() const
{
    return keysOf(Var(), Var(), Var(), Var());
}

Answer CShowCommand::run(const std::string& qorPath)
{
    const FrameworkSummary summary = readSummary(qorPath);
    Answer answer;
    answer.status = summary.failures.empty() ? Status::YES : Status::CANNOT;
    answer.error = Poco::cat(std::string("; "), summary.failures.begin(), summary.failures.end());
    answer.keys = keysOf(modelKeys(summary.models), handlerKeys(summary.configuration), sessionKeys(summary.session),
                         backupKeys(summary.backupSince));
    answer.text = "framework " + printable(qorPath) + "\n" + modelText(summary.models) +
                  handlerText(summary.configuration) + sessionText(summary.session) + backupText(summary.backupSince);
    return answer;
}

} // namespace QMT
