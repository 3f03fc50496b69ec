#include "ctl/CCheckCommand.h"

#include "ctl/CFrameworkCheck.h"
#include "ctl/Emphasis.h"
#include "ctl/PrintedText.h"
#include "ctl/UnlessBusy.h"

#include <Poco/JSON/Array.h>

#include <algorithm>

namespace QMT
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;

namespace
{

std::string severityOf(const Finding& finding)
{
    return isError(finding.id) ? "error" : "warning";
}

Object::Ptr keysOf(const Finding& finding)
{
    Object::Ptr keys = newObject();
    keys->set("id", nameOf(finding.id));
    keys->set("severity", severityOf(finding));
    keys->set("file", finding.file ? Var(*finding.file) : Var());
    keys->set("text", finding.text);
    keys->set("remedy", finding.remedy);
    return keys;
}

std::string textOf(const Finding& finding)
{
    const std::string file = finding.file ? " " + *finding.file + ":" : "";
    const std::string severity = severityOf(finding) + ":";
    return (isError(finding.id) ? asError(severity) : asWarning(severity)) + printable(file + " " + finding.text) +
           " [" + nameOf(finding.id) + "]\n  remedy: " + printable(finding.remedy) + "\n";
}

Answer answerOf(const std::vector<Finding>& findings)
{
    const bool isSound = std::none_of(findings.begin(), findings.end(), [](const Finding& f) { return isError(f.id); });
    Array::Ptr array = Poco::makeShared<Array>();
    Answer answer;
    for (const Finding& finding : findings)
    {
        array->add(keysOf(finding));
        answer.text += textOf(finding);
    }
    answer.status = isSound ? Status::YES : Status::NO;
    answer.keys.set("findings", array);
    answer.text += findings.empty() ? "no findings\n" : "";
    return answer;
}

} // namespace

std::string CCheckCommand::name() const
{
    return "check";
}

std::string CCheckCommand::summary() const
{
    return "Look for faults, and suggest a remedy for each.";
}

Answer CCheckCommand::run(const std::string& qorPath)
{
    return readUnlessBusy(qorPath, [&qorPath] { return answerOf(CFrameworkCheck(qorPath).findAll()); });
}

} // namespace QMT
