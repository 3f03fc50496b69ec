#include "ctl/CApplyCommand.h"

#include "base/CSignalCatcher.h"
#include "ctl/CCallerLock.h"
#include "ctl/CCommandLine.h"
#include "ctl/CMessageLog.h"
#include "ctl/CQueueTrial.h"
#include "ctl/CTransaction.h"
#include "ctl/PreviewAnswer.h"
#include "ctl/PrintedText.h"
#include "ctl/SessionOwner.h"
#include "ctl/Waiting.h"

#include <Poco/Exception.h>
#include <Poco/JSON/Array.h>
#include <Poco/Util/Option.h>
#include <Poco/Util/OptionSet.h>

#include <algorithm>
#include <chrono>

namespace QMT
{

namespace
{

const std::string WAIT = "wait";

/// Why no transaction can begin; nothing when one can.
std::optional<std::string> sessionIn(const FrameworkContents& now)
{
    if (!now.lock)
    {
        return std::nullopt;
    }
    const SessionOwner owner = sessionOwner(*now.lock, CQorModelToolImpl::getHostName());
    const std::string host = owner.host.empty() ? "an unknown host" : "the host " + owner.host;
    return owner.isApply ? "an apply of " + host + " was interrupted: call qor_mim_ctl recover"
                         : host + " has a session open";
}

bool isOfApply(const FrameworkContents& now)
{
    return now.lock && sessionOwner(*now.lock, CQorModelToolImpl::getHostName()).isApply;
}

bool hasEnded()
{
    return CSignalCatcher::caught() != 0;
}

/// The actions that are to be done, as queue entries.
CommandQueue queueOf(const Preview& preview)
{
    CommandQueue queue;
    for (const TriedAction& action : preview.actions)
    {
        if (action.outcome == Outcome::DONE)
        {
            queue.push_front(action.entry);
        }
    }
    return queue;
}

Answer answerOf(const Preview& preview, const std::string& result, Status status,
                const std::vector<std::string>& warnings)
{
    Answer answer = answerOf(preview, result, status);
    Poco::JSON::Array::Ptr array(new Poco::JSON::Array);
    for (const std::string& warning : warnings)
    {
        array->add(warning);
        answer.messages.push_back("warning: " + warning);
    }
    answer.keys.set("warnings", array);
    return answer;
}

unsigned int secondsUntil(std::chrono::steady_clock::time_point end)
{
    const auto left = std::chrono::duration_cast<std::chrono::seconds>(end - std::chrono::steady_clock::now());
    return static_cast<unsigned int>(std::max<std::int64_t>(left.count(), 0));
}

} // namespace

std::string CApplyCommand::name() const
{
    return "apply";
}

std::string CApplyCommand::summary() const
{
    return "Add and remove models in one transaction, all or nothing.";
}

void CApplyCommand::defineOptions(Poco::Util::OptionSet& options) const
{
    CActionOptions::define(options);
    options.addOption(Poco::Util::Option(WAIT, "", "How long to wait for another caller or session; 0 unless given.")
                          .argument("SECONDS"));
}

void CApplyCommand::takeOption(const std::string& name, const std::string& value)
{
    if (!_options.take(name, value))
    {
        _wait = secondsOf(name, value);
    }
}

void CApplyCommand::checkOptions() const
{
    _options.check();
    if (_options.actions().empty())
    {
        throw Poco::SyntaxException("There is nothing to apply: --add or --remove is missing");
    }
}

Answer CApplyCommand::run(const std::string& qorPath)
{
    const CSignalCatcher catcher;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(_wait);
    CCallerLock lock(qorPath);
    bool isTaken = false;
    static_cast<void>(waitFor(_wait,
                              [&]
                              {
                                  isTaken = lock.takeWithin(0);
                                  return isTaken || hasEnded();
                              }));
    if (hasEnded())
    {
        return Answer::failure(Status::CANNOT, "ended by a signal, and nothing was done");
    }
    return isTaken ? runAlone(qorPath, secondsUntil(end)) : Answer::failure(Status::BUSY, lock.holder());
}

Answer CApplyCommand::runAlone(const std::string& qorPath, unsigned int secondsLeft) const
{
    std::optional<Answer> answer;
    std::optional<std::string> session;
    static_cast<void>(waitFor(secondsLeft,
                              [&]
                              {
                                  const FrameworkContents now = readFramework(qorPath);
                                  session = sessionIn(now);
                                  if (!session)
                                  {
                                      answer = attempt(qorPath);
                                  }
                                  return answer || isOfApply(now) || hasEnded();
                              }));
    if (answer)
    {
        return *answer;
    }
    if (hasEnded())
    {
        return Answer::failure(Status::CANNOT, "ended by a signal, and nothing was done");
    }
    return Answer::failure(Status::BUSY, session.value_or("another session was opened meanwhile"));
}

/// One attempt at the transaction; nothing when a session was opened meanwhile.
std::optional<Answer> CApplyCommand::attempt(const std::string& qorPath) const
{
    const CFrameworkPaths paths(qorPath);
    const FilePair live = bothLiveFiles(readFramework(qorPath), paths);
    // The framework is about to be changed, so there is always a place for copies if there is room at all.
    Preview preview = tryActions(live, _options.actions(), paths.configuration().live, false,
                                 {CQueueTrial::usualPlace(), "/dev/shm", "/run", "/var/tmp", paths.modelDirectory()});
    if (preview.has(Outcome::FAILED))
    {
        return answerOf(preview, "refused", Status::NO, {});
    }
    if (!preview.has(Outcome::DONE))
    {
        return answerOf(preview, "unchanged", Status::YES, {});
    }
    CMessageLog log;
    CTransaction transaction(qorPath, live, preview.after, log.logger());
    if (!transaction.open())
    {
        return std::nullopt;
    }
    preview.judgement = transaction.commit(queueOf(preview));
    Answer answer = preview.isRejected() ? answerOf(preview, "rejected", Status::NO, {})
                                         : answerOf(preview, "applied", Status::YES, transaction.lost());
    for (const std::string& message : log.take())
    {
        answer.messages.push_back(message);
    }
    if (preview.isRejected())
    {
        answer.error = "the validator rejected the list, and the previous files are back";
    }
    return answer;
}

} // namespace QMT
