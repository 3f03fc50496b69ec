#include "ctl/CActionOptions.h"

#include <Poco/Exception.h>
#include <Poco/Util/Option.h>
#include <Poco/Util/OptionSet.h>

namespace QMT
{

namespace
{

const std::string ADD = "add";
const std::string REMOVE = "remove";
const std::string HANDLER = "handler";
const std::string MO_VERSION = "mo-version";
const std::string TR_VERSION = "tr-version";

const std::string DEFAULT_VERSION = "1";

std::string orDefault(const std::string& version)
{
    return version.empty() ? DEFAULT_VERSION : version;
}

} // namespace

void CActionOptions::define(Poco::Util::OptionSet& options)
{
    using Poco::Util::Option;

    options.addOption(Option(ADD, "", "Put a model file on the list.").argument("FILE").repeatable(true));
    options.addOption(Option(REMOVE, "", "Take a model file off the list.").argument("FILE").repeatable(true));
    options.addOption(Option(HANDLER, "", "The handler that serves the model of the action before.")
                          .argument("NAME")
                          .repeatable(true));
    options.addOption(Option(MO_VERSION, "", "The managed object version of a handler that is new; 1 unless given.")
                          .argument("V")
                          .repeatable(true));
    options.addOption(
        Option(TR_VERSION, "", "The transactional resource version of a handler that is new; 1 unless given.")
            .argument("V")
            .repeatable(true));
}

bool CActionOptions::take(const std::string& name, const std::string& value)
{
    if (name == ADD || name == REMOVE)
    {
        check();
        _wanted.push_back({name == REMOVE, value, std::string(), std::string(), std::string()});
        return true;
    }
    if (name == HANDLER)
    {
        record(name, &Wanted::handler, value);
        return true;
    }
    if (name == MO_VERSION || name == TR_VERSION)
    {
        record(name, name == MO_VERSION ? &Wanted::moVersion : &Wanted::trVersion, value);
        return true;
    }
    return false;
}

void CActionOptions::record(const std::string& name, Field field, const std::string& value)
{
    if (_wanted.empty())
    {
        throw Poco::SyntaxException("--" + name + " stands before the first --add or --remove");
    }
    std::string& recorded = _wanted.back().*field;
    if (!recorded.empty())
    {
        throw Poco::SyntaxException("--" + name + " is given twice for " + _wanted.back().path);
    }
    recorded = value;
}

void CActionOptions::check() const
{
    if (_wanted.empty())
    {
        return;
    }
    const Wanted& last = _wanted.back();
    if (last.moVersion.empty() && last.trVersion.empty())
    {
        return;
    }
    if (last.isRemoval)
    {
        throw Poco::SyntaxException("A removal has no versions: " + last.path);
    }
    if (last.handler.empty())
    {
        throw Poco::SyntaxException("There are versions without a --handler: " + last.path);
    }
}

std::vector<Action> CActionOptions::actions() const
{
    std::vector<Action> actions;
    for (const Wanted& wanted : _wanted)
    {
        const bool isWithHandler = !wanted.handler.empty();
        const CmdID addition = isWithHandler ? CmdID::AddModelFileWithHandler : CmdID::AddModelFile;
        const CmdID removal = isWithHandler ? CmdID::RemoveModelFileWithHandler : CmdID::RemoveModelFile;
        actions.push_back({wanted.isRemoval ? removal : addition, wanted.path, wanted.handler,
                           isWithHandler ? orDefault(wanted.moVersion) : std::string(),
                           isWithHandler ? orDefault(wanted.trVersion) : std::string()});
    }
    return actions;
}

} // namespace QMT
