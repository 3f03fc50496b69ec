#include "ctl/CRecoverCommand.h"

#include "ctl/CCommandLine.h"
#include "ctl/CFrameworkFacts.h"
#include "ctl/PrintedText.h"
#include "ctl/RecoveryOrder.h"
#include "ctl/UnlessBusy.h"

#include <Poco/DateTimeFormatter.h>
#include <Poco/Exception.h>
#include <Poco/JSON/Array.h>
#include <Poco/Timestamp.h>
#include <Poco/Util/Option.h>
#include <Poco/Util/OptionSet.h>

namespace QMT
{

namespace
{

const std::string DRY_RUN = "dry-run";
const std::string FORCE = "force";
const std::string ASSUME = "assume";

std::string nameOf(Found found)
{
    switch (found)
    {
    case Found::NOTHING:
        return "nothing";
    case Found::STAGING_INTERRUPTED:
        return "staging-interrupted";
    case Found::COMMIT_INTERRUPTED:
        return "commit-interrupted";
    case Found::ROLLBACK_INTERRUPTED:
        return "rollback-interrupted";
    case Found::UNCLEAR:
        break;
    }
    return "unclear";
}

Assumption assumptionNamed(const std::string& name)
{
    if (name == "commit")
    {
        return Assumption::COMMIT;
    }
    if (name == "rollback")
    {
        return Assumption::ROLLBACK;
    }
    if (name == "nothing")
    {
        return Assumption::NOTHING;
    }
    throw Poco::SyntaxException("The value of --assume is not commit, rollback or nothing: " + name);
}

/// The answer in both forms, with what was done or would be.
Answer answerOf(const Recovery& recovery, const std::vector<RecoveryStep>& steps, const std::string& copy)
{
    Answer answer;
    answer.status = recovery.found == Found::UNCLEAR ? Status::NO : Status::YES;
    Poco::JSON::Array done;
    answer.text = "found: " + nameOf(recovery.found) + "\n";
    for (const RecoveryStep& step : steps)
    {
        done.add(step.text);
        answer.text += "  " + printable(step.text) + "\n";
    }
    if (!copy.empty())
    {
        answer.text += "copy:  " + printable(copy) + "\n";
    }
    answer.keys.set("found", nameOf(recovery.found));
    answer.keys.set("done", done);
    answer.keys.set("copy", copy.empty() ? Poco::Dynamic::Var() : Poco::Dynamic::Var(copy));
    return answer;
}

} // namespace

std::string CRecoverCommand::name() const
{
    return "recover";
}

std::string CRecoverCommand::summary() const
{
    return "Bring a framework back after a power cut, a kill or a full disk.";
}

void CRecoverCommand::defineOptions(Poco::Util::OptionSet& options) const
{
    using Poco::Util::Option;

    options.addOption(Option(DRY_RUN, "", "Tell what would be done, and change nothing."));
    options.addOption(waitOption());
    options.addOption(Option(ASSUME, "",
                             "What was interrupted, where the files do not tell: commit, rollback or "
                             "nothing.")
                          .argument("RUN"));
    options.addOption(Option(FORCE, "", "Recover the session of another host too."));
}

void CRecoverCommand::takeOption(const std::string& name, const std::string& value)
{
    if (name == DRY_RUN)
    {
        _isDryRun = true;
    }
    else if (name == FORCE)
    {
        _isForced = true;
    }
    else if (name == ASSUME)
    {
        _assumption = assumptionNamed(value);
    }
    else
    {
        _wait = secondsOf(name, value);
    }
}

Answer CRecoverCommand::run(const std::string& qorPath)
{
    if (_isDryRun)
    {
        return readUnlessBusy(qorPath, [&] { return runAlone(qorPath, deadlineIn(0)); });
    }
    const Deadline deadline = deadlineIn(_wait);
    return changeUnlessBusy(qorPath, deadline, [&] { return runAlone(qorPath, deadline); });
}

Answer CRecoverCommand::runAlone(const std::string& qorPath, Deadline deadline) const
{
    CFrameworkFacts framework(qorPath);
    CRecoveryCache facts(framework);
    FrameworkContents now;
    SessionOwner owner;
    const auto isOurs = [&]
    {
        now = readFramework(qorPath);
        owner = sessionOwner(now.lock.value_or(""), facts.hostName());
        return _isForced || !now.lock || owner.mayBeOurs();
    };
    if (!waitUntil(deadline, isOurs))
    {
        return Answer::failure(Status::BUSY,
                               "the host " + owner.host + " has a session open (--force recovers it too)");
    }
    const Recovery recovery = decideRecovery(now, owner, facts, _assumption);
    const std::vector<RecoveryStep> steps =
        inSafeOrder(recoverySteps(qorPath, now, recovery.after), now, recovery.after, facts, _assumption);
    if (recovery.found == Found::UNCLEAR)
    {
        Answer answer = answerOf(recovery, steps, std::string());
        answer.error = "unclear: " + recovery.question +
                       ". Nothing was changed; say what was interrupted by --assume=commit, rollback or nothing";
        return answer;
    }
    return _isDryRun || steps.empty() ? answerOf(recovery, steps, std::string())
                                      : executeSteps(qorPath, recovery, steps);
}

Answer CRecoverCommand::executeSteps(const std::string& qorPath, const Recovery& recovery,
                                     const std::vector<RecoveryStep>& steps) const
{
    const std::string stamp = Poco::DateTimeFormatter::format(Poco::Timestamp(), "%Y%m%dT%H%M%SZ");
    const std::string copy = copyAside(qorPath, stamp, steps);
    std::vector<std::string> lost;
    try
    {
        for (const RecoveryStep& step : steps)
        {
            const std::vector<std::string> lostNow = execute(step);
            lost.insert(lost.end(), lostNow.begin(), lostNow.end());
        }
    }
    catch (const Poco::Exception& exc)
    {
        return Answer::failure(Status::CANNOT, exc.displayText() + "; the files as they were are in " + copy +
                                                   "; call qor_mim_ctl recover again");
    }
    Answer answer = answerOf(recovery, steps, copy);
    for (const std::string& line : lost)
    {
        answer.error += (answer.error.empty() ? "" : "; ") + line;
    }
    return answer;
}

} // namespace QMT
