#include "ctl/Recovery.h"

#include "ctl/CRecoveryAnalysis.h"
#include "ctl/TornText.h"
#include "xml/CXMLParser.h"

#include <Poco/DOM/Document.h>

#include <algorithm>

namespace QMT
{

CRecoveryFacts::~CRecoveryFacts() = default;

bool CRecoveryFacts::isDocument(const std::string& text)
{
    return !CXMLParser::parseFile(text).isNull();
}

Recovery decideRecovery(const FrameworkContents& now, const SessionOwner& owner, CRecoveryCache& facts,
                        std::optional<Assumption> assumption)
{
    CRecoveryAnalysis analysis(now, owner, facts, assumption);
    Recovery recovery = analysis.decide();
    // As in a second recovery, the restored and removed files may decide about others. More than one further pass has
    // never been needed.
    const int FURTHER_PASSES = 4;
    const std::optional<Assumption> answer = analysis.hasAsked() ? assumption : std::nullopt;
    bool isChanging = recovery.found != Found::UNCLEAR;
    for (int further = 0; isChanging && further < FURTHER_PASSES; ++further)
    {
        const SessionOwner left = sessionOwner(recovery.after.lock.value_or(""), facts.hostName());
        const Recovery next = CRecoveryAnalysis(recovery.after, left, facts, answer).decide();
        isChanging = !(next.after == recovery.after);
        recovery.after = next.after;
    }
    return recovery;
}

CRecoveryAnalysis::CRecoveryAnalysis(const FrameworkContents& now, const SessionOwner& owner, CRecoveryCache& facts,
                                     std::optional<Assumption> assumption)
    : _now(now), _owner(owner), _facts(facts), _assumption(assumption), _queue(completeLines(now.session.value_or("")))
{
}

Recovery CRecoveryAnalysis::decide()
{
    Recovery recovery;
    recovery.after = _now;
    if (_now.lock)
    {
        analyseLocked(recovery);
    }
    else
    {
        analyseUnlocked(recovery);
    }
    if (recovery.found == Found::UNCLEAR)
    {
        recovery.after = _now;
    }
    return recovery;
}

bool CRecoveryAnalysis::hasAsked() const
{
    return _hasAsked;
}

bool CRecoveryAnalysis::ask(Recovery& recovery, const std::string& question)
{
    _hasAsked = true;
    if (_assumption)
    {
        return true;
    }
    recovery.found = Found::UNCLEAR;
    recovery.question = question;
    return false;
}

void CRecoveryAnalysis::giveUp(Recovery& recovery)
{
    _hasAsked = true;
    if (isAssumed(Assumption::NOTHING))
    {
        _isGivenUp = true;
        return;
    }
    recovery.found = Found::UNCLEAR;
    recovery.question = "a live file is missing or torn, and no complete copy of its previous content exists";
}

bool CRecoveryAnalysis::isAssumed(Assumption assumption) const
{
    return _assumption == assumption;
}

bool CRecoveryAnalysis::isDifferent(const Text& one, const Text& other)
{
    return one && other && one != other;
}

bool CRecoveryAnalysis::isTorn(const Text& text, const Text& whole)
{
    return text && whole && isTornCopyOf(*text, *whole);
}

bool CRecoveryAnalysis::isDocument(const Text& text) const
{
    return text && _facts.isDocument(*text);
}

bool CRecoveryAnalysis::isWholeList(const Text& text)
{
    return text && !endsInsideLine(*text) && text->find('\0') == std::string::npos;
}

const CRecoveryAnalysis::Results& CRecoveryAnalysis::resultsOver(const FilePair& base)
{
    static const Results NONE;

    const bool isPair = base.configuration && base.list && !_queue.empty();
    return isPair ? _facts.queueResults(base, _queue) : NONE;
}

bool CRecoveryAnalysis::isResultOf(const FilePair& base, FileOfPair file, const Text& text)
{
    if (!isDifferent(text, base.*file))
    {
        return false;
    }
    const Results& results = resultsOver(base);
    return std::any_of(results.begin(), results.end(), [&](const FilePair& result) { return text == result.*file; });
}

bool CRecoveryAnalysis::isTornResult(const FilePair& base, FileOfPair file, const Text& text)
{
    const Results& results = resultsOver(base);
    return std::any_of(results.begin(), results.end(),
                       [&](const FilePair& result) { return isTorn(text, result.*file); });
}

} // namespace QMT
