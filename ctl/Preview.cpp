#include "ctl/Preview.h"

#include "ctl/ActionAnswer.h"
#include "ctl/CActionChecks.h"
#include "ctl/CMessageLog.h"
#include "ctl/CQueueTrial.h"
#include "ctl/TornText.h"

#include <Poco/Exception.h>

#include <algorithm>

namespace QMT
{

namespace
{

void requireDocument(const CQueueTrial& trial, const std::string& document)
{
    if (!trial.isDocumentLoaded())
    {
        throw Poco::DataFormatException("the document cannot be parsed", document);
    }
}

/// The content of the files, independent of their layout.
struct Meaning
{
    explicit Meaning(CQueueTrial& trial) : document(trial.documentText()), lines(linesOf(trial.list()))
    {
    }

    bool operator==(const Meaning& other) const
    {
        return document == other.document && lines == other.lines;
    }

    std::string document;
    std::vector<std::string> lines;
};

/// Tries the next action of the queue. False when a commit would end with it.
bool tryNext(CQueueTrial& trial, CMessageLog& log, TriedAction& tried, bool& needsValidation)
{
    try
    {
        const ActionResult result = trial.applyNext();
        tried.messages = log.take();
        tried.outcome = result == ActionResult::FAILED ? Outcome::FAILED : Outcome::DONE;
        needsValidation = needsValidation || result == ActionResult::ADDED;
        return true;
    }
    catch (const Poco::Exception& exc)
    {
        tried.messages = log.take();
        tried.messages.push_back(exc.displayText());
        return false;
    }
}

std::vector<TriedAction> actionsOf(const CommandQueue& queue)
{
    std::vector<TriedAction> actions;
    for (auto entry = queue.crbegin(); entry != queue.crend(); ++entry)
    {
        actions.push_back({*entry, actionKeys(*entry), actionLine(*entry), Outcome::FAILED, {}});
    }
    return actions;
}

} // namespace

bool Preview::has(Outcome outcome) const
{
    return std::any_of(actions.begin(), actions.end(),
                       [outcome](const TriedAction& action) { return action.outcome == outcome; });
}

bool Preview::isRejected() const
{
    return judgement && judgement->verdict == Judgement::Verdict::REJECTED;
}

Preview tryQueue(const FilePair& base, const std::string& session, const std::string& document)
{
    CMessageLog log;
    CQueueTrial trial(base, session, log.logger());
    requireDocument(trial, document);
    Preview preview;
    preview.before = base;
    preview.actions = actionsOf(trial.queue());
    bool needsValidation = false;
    Meaning before(trial);
    for (TriedAction& tried : preview.actions)
    {
        static_cast<void>(log.take());
        if (!tryNext(trial, log, tried, needsValidation))
        {
            // The commit ends here, with nothing installed and nothing judged.
            preview.after = base;
            return preview;
        }
        const Meaning after(trial);
        if (tried.outcome == Outcome::DONE && after == before)
        {
            tried.outcome = Outcome::SKIPPED;
        }
        before = after;
    }
    preview.after = trial.result();
    if (needsValidation)
    {
        preview.judgement = trial.judge();
    }
    return preview;
}

Preview tryActions(const FilePair& base, const std::vector<Action>& actions, const std::string& document, bool isJudged,
                   const std::vector<std::string>& places)
{
    CMessageLog log;
    CQueueTrial trial(base, std::string(), log.logger(), places);
    requireDocument(trial, document);
    CActionChecks checks(trial, log);
    Preview preview;
    preview.before = base;
    for (const Action& action : actions)
    {
        preview.actions.push_back(checks.tryNext(action));
    }
    preview.after = trial.result();
    if (isJudged && preview.has(Outcome::DONE) && !preview.has(Outcome::FAILED))
    {
        preview.judgement = trial.judge();
    }
    return preview;
}

} // namespace QMT
