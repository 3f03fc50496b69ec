#include "impl/Action.h"

namespace QMT
{

namespace
{

std::string withVersions(const Action& action)
{
    return "--modelHandler=" + action.handler + " --managedObjectVersion=" + action.moVersion +
           " --transactionalResourceVersion=" + action.trVersion;
}

} // namespace

bool hasHandler(CmdID kind)
{
    return kind == CmdID::ModelHandler || kind == CmdID::AddModelFileWithHandler ||
           kind == CmdID::RemoveModelFileWithHandler;
}

std::string Action::text() const
{
    std::string handlerFields = handler + FIELD_SEPARATOR + moVersion + FIELD_SEPARATOR + trVersion;
    switch (kind)
    {
    case CmdID::ModelHandler:
        return handlerFields;
    case CmdID::AddModelFileWithHandler:
    case CmdID::RemoveModelFileWithHandler:
        return path + FIELD_SEPARATOR + handlerFields;
    case CmdID::AddModelFile:
    case CmdID::RemoveModelFile:
        break;
    }
    return path;
}

std::string Action::statusLine() const
{
    switch (kind)
    {
    case CmdID::AddModelFile:
        return "--addModelFile=" + path;
    case CmdID::ModelHandler:
        return withVersions(*this);
    case CmdID::RemoveModelFile:
        return "--removeModelFile=" + path;
    case CmdID::AddModelFileWithHandler:
        return "--addModelFile=" + path + " " + withVersions(*this);
    case CmdID::RemoveModelFileWithHandler:
        return "--removeModelFile=" + path + " --modelHandler=" + handler;
    }
    return path;
}

std::string Action::stagingLine() const
{
    switch (kind)
    {
    case CmdID::ModelHandler:
        // A literal in front of a temporary makes GCC 12 warn of a copy that cannot happen.
        return std::string(" ").append(statusLine());
    case CmdID::AddModelFile:
    case CmdID::RemoveModelFile:
    case CmdID::AddModelFileWithHandler:
    case CmdID::RemoveModelFileWithHandler:
        return statusLine();
    }
    return std::string();
}

} // namespace QMT
