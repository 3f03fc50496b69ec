#include "ctl/Recovery.h"

#include "ctl/CRecoveryReading.h"
#include "ctl/TornText.h"
#include "xml/CXMLParser.h"

#include <Poco/DOM/Document.h>

#include <algorithm>

namespace QMT
{

CRecoveryFacts::~CRecoveryFacts() = default;

Recovery decideRecovery(const FrameworkContents& now, const SessionOwner& owner, CRecoveryFacts& facts,
                        std::optional<Assumption> assumption)
{
    return CRecoveryReading(now, owner, facts, assumption).decide();
}

CRecoveryReading::CRecoveryReading(const FrameworkContents& now, const SessionOwner& owner, CRecoveryFacts& facts,
                                   std::optional<Assumption> assumption)
    : _now(now), _owner(owner), _facts(facts), _assumption(assumption), _queue(completeLines(now.session.value_or("")))
{
}

Recovery CRecoveryReading::decide()
{
    Recovery recovery;
    recovery.after = _now;
    if (_now.lock)
    {
        readLocked(recovery);
    }
    else
    {
        readUnlocked(recovery);
    }
    if (recovery.found == Found::UNCLEAR)
    {
        recovery.after = _now;
    }
    // What tells most goes last: a torn document, edited working copies beside backups that may be older ones, or
    // backups that are torn. An apply that has nothing left but its lock file would be judged.
    const bool isListHurt = _now.lock ? isListTorn() : isListTornUnlocked();
    recovery.order.isListFirst = !isDocument(_now.live.configuration) && !isListHurt;
    recovery.order.areBackupsFirst = _areBackupsTorn && !wasNeverLive(_now.live);
    recovery.order.isLockFirst = _owner.isApply;
    return recovery;
}

bool CRecoveryReading::ask(Recovery& recovery, const std::string& question) const
{
    if (_assumption)
    {
        return true;
    }
    recovery.found = Found::UNCLEAR;
    recovery.question = question;
    return false;
}

bool CRecoveryReading::giveUp(Recovery& recovery) const
{
    if (isAssumed(Assumption::NOTHING))
    {
        return true;
    }
    recovery.found = Found::UNCLEAR;
    recovery.question = "a live file is missing or torn, and what it was before is whole nowhere";
    return false;
}

bool CRecoveryReading::isAssumed(Assumption assumption) const
{
    return _assumption == assumption;
}

bool CRecoveryReading::isSame(const Text& one, const Text& other)
{
    return one && one == other;
}

bool CRecoveryReading::isDifferent(const Text& one, const Text& other)
{
    return one && other && one != other;
}

bool CRecoveryReading::isCut(const Text& text, const Text& whole)
{
    return text && whole && isCutFrom(*text, *whole);
}

bool CRecoveryReading::isDocument(const Text& text)
{
    return text && !CXMLParser::parseFile(*text).isNull();
}

bool CRecoveryReading::isWholeList(const Text& text)
{
    return text && !endsInsideLine(*text) && text->find('\0') == std::string::npos;
}

const CRecoveryReading::Results& CRecoveryReading::resultsOver(const FilePair& base)
{
    const auto known =
        std::find_if(_results.begin(), _results.end(), [&base](const auto& results) { return results.first == base; });
    if (known != _results.end())
    {
        return known->second;
    }
    const bool isPair = base.configuration && base.list && !_queue.empty();
    _results.emplace_back(base, isPair ? _facts.queueResults(base, _queue) : Results());
    return _results.back().second;
}

bool CRecoveryReading::isMadeOf(const FilePair& base, File file, const Text& text)
{
    if (!isDifferent(text, base.*file))
    {
        return false;
    }
    const Results& results = resultsOver(base);
    return std::any_of(results.begin(), results.end(),
                       [&](const FilePair& result) { return isSame(text, result.*file); });
}

bool CRecoveryReading::isCutFromResult(const FilePair& base, File file, const Text& text)
{
    const Results& results = resultsOver(base);
    return std::any_of(results.begin(), results.end(),
                       [&](const FilePair& result) { return isCut(text, result.*file); });
}

} // namespace QMT
