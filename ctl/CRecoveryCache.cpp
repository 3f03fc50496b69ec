#include "ctl/CRecoveryCache.h"

#include <algorithm>

namespace QMT
{

CRecoveryCache::CRecoveryCache(CRecoveryFacts& facts) : _facts(facts)
{
}

std::string CRecoveryCache::hostName()
{
    return _facts.hostName();
}

const std::vector<FilePair>& CRecoveryCache::queueResults(const FilePair& base, const std::string& session)
{
    const auto isKnown = [&](const QueueResults& known) { return known.base == base && known.session == session; };
    const auto known = std::find_if(_queueResults.begin(), _queueResults.end(), isKnown);
    if (known != _queueResults.end())
    {
        return known->results;
    }
    _queueResults.push_back({base, session, _facts.queueResults(base, session)});
    return _queueResults.back().results;
}

bool CRecoveryCache::isLiveListRejected()
{
    if (!_verdict)
    {
        _verdict = _facts.isLiveListRejected();
    }
    return *_verdict;
}

std::string CRecoveryCache::rootClassOf(const std::string& modelFile)
{
    auto known = _rootClasses.find(modelFile);
    if (known == _rootClasses.end())
    {
        known = _rootClasses.emplace(modelFile, _facts.rootClassOf(modelFile)).first;
    }
    return known->second;
}

bool CRecoveryCache::isDocument(const std::string& text)
{
    auto known = _documents.find(text);
    if (known == _documents.end())
    {
        known = _documents.emplace(text, _facts.isDocument(text)).first;
    }
    return known->second;
}

const std::optional<bool>& CRecoveryCache::verdict() const
{
    return _verdict;
}

void CRecoveryCache::assumeVerdict(bool isRejected)
{
    _verdict = isRejected;
}

} // namespace QMT
