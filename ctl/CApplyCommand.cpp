#include "ctl/CApplyCommand.h"

#include "base/CSignalCatcher.h"
#include "ctl/CCommandLine.h"
#include "ctl/CMessageLog.h"
#include "ctl/CQueueTrial.h"
#include "ctl/CTransaction.h"
#include "ctl/PreviewAnswer.h"
#include "ctl/SessionOwner.h"
#include "ctl/UnlessBusy.h"

#include <Poco/Exception.h>
#include <Poco/Util/OptionSet.h>

namespace QMT
{

namespace
{

/// The owner of the open session, for which a transaction must wait; nothing when no session is open.
std::optional<SessionOwner> ownerIn(const FrameworkContents& now)
{
    if (!now.lock)
    {
        return std::nullopt;
    }
    return sessionOwner(*now.lock, CQorModelToolImpl::getHostName());
}

std::string describe(const SessionOwner& owner)
{
    const std::string host = owner.host.empty() ? std::string("an unknown host") : "the host " + owner.host;
    if (owner.isApply)
    {
        return "an apply of " + host + " was interrupted: call qor_mim_ctl recover";
    }
    return host + " has a session open";
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
    for (const std::string& warning : warnings)
    {
        answer.messages.push_back("warning: " + warning);
    }
    answer.keys.set("warnings", arrayOf(warnings));
    return answer;
}

/// The answer of a transaction that was carried out.
Answer answerOf(const Preview& preview, const std::vector<std::string>& lost)
{
    if (!preview.isRejected())
    {
        return answerOf(preview, "applied", Status::YES, lost);
    }
    Answer answer = answerOf(preview, "rejected", Status::NO, {});
    answer.error = "the validator rejected the list, and the previous files are back";
    return answer;
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
    options.addOption(waitOption());
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
    const Deadline deadline = deadlineIn(_wait);
    return changeUnlessBusy(qorPath, deadline, [&] { return runAlone(qorPath, deadline); });
}

Answer CApplyCommand::runAlone(const std::string& qorPath, Deadline deadline) const
{
    std::optional<Answer> answer;
    std::string session;
    const auto isDecided = [&]
    {
        if (const std::optional<SessionOwner> owner = ownerIn(readFramework(qorPath)))
        {
            session = describe(*owner);
            return owner->isApply || CSignalCatcher::hasCaught();
        }
        answer = attempt(qorPath);
        session = "another session was opened meanwhile";
        return answer.has_value() || CSignalCatcher::hasCaught();
    };
    static_cast<void>(waitUntil(deadline, isDecided));
    if (answer)
    {
        return *answer;
    }
    if (CSignalCatcher::hasCaught())
    {
        return Answer::endedBySignal();
    }
    return Answer::failure(Status::BUSY, session);
}

/// One attempt at the transaction; nothing when a session was opened meanwhile.
std::optional<Answer> CApplyCommand::attempt(const std::string& qorPath) const
{
    const CFrameworkPaths paths(qorPath);
    const FilePair live = bothLiveFiles(readFramework(qorPath), paths);
    // The last place is in the framework directory, which is about to be written anyway.
    Preview preview = tryActions(live, _options.actions(), paths.configuration().live, false,
                                 {CQueueTrial::defaultPlace(), "/dev/shm", "/run", "/var/tmp", paths.modelDirectory()});
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
    Answer answer = answerOf(preview, transaction.lost());
    for (const std::string& message : log.take())
    {
        answer.messages.push_back(message);
    }
    return answer;
}

} // namespace QMT
