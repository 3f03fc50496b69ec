#include "ctl/CActionChecks.h"

#include "base/Existence.h"
#include "ctl/ActionAnswer.h"
#include "ctl/CMessageLog.h"
#include "ctl/CQueueTrial.h"
#include "ctl/PrintedText.h"
#include "ctl/Service.h"
#include "impl/CQorModelToolImpl.h"
#include "xml/CXMLParser.h"

#include <Poco/Exception.h>
#include <Poco/String.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

namespace QMT
{

namespace
{

/// Why `value` is not allowed in a queue, a list or a document; empty when it is.
std::string faultOf(const std::string& what, const std::string& value)
{
    if (validUtf8(value) != value)
    {
        return what + " is not valid UTF-8";
    }
    if (printable(value) != value)
    {
        return what + " holds a control character";
    }
    if (value.find_first_of(":|") != std::string::npos)
    {
        return what + " holds \":\" or \"|\"";
    }
    if (Poco::trim(value) != value)
    {
        return what + " begins or ends with white space";
    }
    return std::string();
}

/// `given` is the path before it was made absolute.
std::string faultOf(const Action& action, const std::string& given)
{
    for (const auto& [what, value] :
         {std::make_pair("the path", given), std::make_pair("the path", action.path),
          std::make_pair("the handler's name", action.handler), std::make_pair("a version", action.moVersion),
          std::make_pair("a version", action.trVersion)})
    {
        std::string fault = faultOf(what, value);
        if (!fault.empty())
        {
            return fault;
        }
    }
    return std::string();
}

bool isRemoval(const Action& action)
{
    return action.kind == CmdID::RemoveModelFile || action.kind == CmdID::RemoveModelFileWithHandler;
}

/// The list after the tool has carried out the action.
std::string listAfter(const Action& action, const std::string& list)
{
    const std::vector<std::string> lines = CQorModelToolImpl::trimmedLines(list);
    const bool isListed = std::find(lines.begin(), lines.end(), action.path) != lines.end();
    if (isListed != isRemoval(action))
    {
        return list;
    }
    if (!isListed)
    {
        return list + action.path + "\n";
    }
    std::string kept;
    for (const std::string& line : lines)
    {
        kept += line == action.path ? std::string() : line + "\n";
    }
    return kept;
}

} // namespace

/// The state of the files when an action's turn comes.
struct CActionChecks::Facts
{
    bool isListed = false;  ///< as a whole line
    std::string longerLine; ///< another line of which the path is a part
    std::string rootClass;  ///< empty when the model has none, or no handler is named
    Service service;
};

CActionChecks::CActionChecks(CQueueTrial& trial, CMessageLog& log) : _trial(trial), _log(log)
{
}

TriedAction CActionChecks::tryNext(const Action& wanted)
{
    Action action = wanted;
    action.path = absolutePath(wanted.path);
    TriedAction tried;
    tried.entry = {action.kind, action.text()};
    tried.keys = actionKeys(action);
    tried.line = printable(action.statusLine());
    std::string refusal = faultOf(action, wanted.path);
    if (refusal.empty())
    {
        const Facts facts = factsOf(action);
        if (isInEffect(action, facts))
        {
            tried.outcome = Outcome::SKIPPED;
            return tried;
        }
        refusal = refusalOf(action, facts);
    }
    if (refusal.empty())
    {
        apply(action, tried);
    }
    else
    {
        tried.messages = {refusal};
    }
    return tried;
}

CActionChecks::Facts CActionChecks::factsOf(const Action& action)
{
    Facts facts;
    for (const std::string& line : CQorModelToolImpl::trimmedLines(_trial.list()))
    {
        if (line == action.path)
        {
            facts.isListed = true;
        }
        else if (line.find(action.path) != std::string::npos)
        {
            facts.longerLine = line;
        }
    }
    if (hasHandler(action.kind))
    {
        facts.rootClass = rootClassOf(action.path);
        facts.service = serviceOf(_trial.document(), action.handler, facts.rootClass);
    }
    return facts;
}

bool CActionChecks::isInEffect(const Action& action, const Facts& facts)
{
    if (!isRemoval(action))
    {
        return facts.isListed && (!hasHandler(action.kind) || facts.service.isByHandler);
    }
    // The root class of a missing model file is unknown: only a handler that does not exist surely does not serve it.
    const bool isServed = facts.rootClass.empty() ? facts.service.isHandlerKnown : facts.service.isByHandler;
    return !facts.isListed && (!hasHandler(action.kind) || !isServed);
}

std::string CActionChecks::refusalOf(const Action& action, const Facts& facts) const
{
    if (existenceOf(action.path) != Existence::PRESENT)
    {
        return "the model file does not exist";
    }
    if (!facts.longerLine.empty())
    {
        return "the path is part of another line of the list: " + facts.longerLine;
    }
    std::error_code error;
    if (!isRemoval(action) && std::filesystem::is_directory(action.path, error))
    {
        return "the path is a directory";
    }
    if (!hasHandler(action.kind))
    {
        return std::string();
    }
    const Service& service = facts.service;
    if (facts.rootClass.empty())
    {
        return "the model file has no root class, or cannot be read";
    }
    if (service.other && !(isRemoval(action) && service.isByHandler))
    {
        return "the root class " + facts.rootClass + " is served by another handler: " + *service.other;
    }
    if (isRemoval(action) && !service.isHandlerKnown)
    {
        return "there is no handler of this name";
    }
    if (!isRemoval(action) && service.isPlaceholderFirst && service.isHandlerKnown)
    {
        return "the handler exists, and a new one is expected that takes the place of the placeholder";
    }
    return std::string();
}

void CActionChecks::apply(const Action& action, TriedAction& tried)
{
    const std::string listBefore = _trial.list();
    static_cast<void>(_log.take());
    _trial.add(tried.entry);
    const bool isFailed = _trial.applyNext() == ActionResult::FAILED;
    tried.messages = _log.take();
    const Facts facts = factsOf(action);
    const bool isHandlerDone = !hasHandler(action.kind) || facts.service.isByHandler != isRemoval(action);
    const bool isListRight = _trial.list() == (isFailed ? listBefore : listAfter(action, listBefore));
    // The tool's operations may ignore that a copy cannot be read or written, or edit the document but not the list.
    if (!isListRight || !_trial.isDocumentWritten() || (isFailed && isHandlerDone))
    {
        throw Poco::FileException("the copies of the files cannot be edited: " +
                                  (tried.messages.empty() ? tried.line : tried.messages.back()));
    }
    if (!isFailed && isInEffect(action, facts))
    {
        tried.outcome = Outcome::DONE;
        return;
    }
    tried.messages.emplace_back(isRemoval(action) ? "the model or its handler cannot be removed, the last handler stays"
                                                  : "the model or its handler cannot be added to these files");
}

const std::string& CActionChecks::rootClassOf(const std::string& modelFile)
{
    const auto [entry, isNew] = _rootClasses.emplace(modelFile, std::string());
    if (isNew && _trial.rootClassOf(modelFile, entry->second) != CXMLParser::SUCCESS)
    {
        entry->second.clear();
    }
    return entry->second;
}

std::string absolutePath(const std::string& path)
{
    namespace fs = std::filesystem;

    const fs::path given(path);
    std::error_code error;
    const fs::path directory = fs::current_path(error);
    if (given.is_absolute() || error)
    {
        return path;
    }
    const fs::path whole = directory / given;
    const fs::path tidy = whole.lexically_normal();
    // A ".." after a link leads elsewhere than the text suggests.
    const bool isSame = path.find("..") == std::string::npos || fs::equivalent(whole, tidy, error);
    return (isSame ? tidy : whole).string();
}

} // namespace QMT
