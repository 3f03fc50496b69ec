#include "ctl/CRecoveryMemory.h"

#include <algorithm>

namespace QMT
{

CRecoveryMemory::CRecoveryMemory(CRecoveryFacts& facts) : _facts(facts)
{
}

std::string CRecoveryMemory::hostName()
{
    return _facts.hostName();
}

std::vector<FilePair> CRecoveryMemory::queueResults(const FilePair& base, const std::string& session)
{
    const auto question = std::make_pair(base, session);
    const auto known = std::find_if(_results.begin(), _results.end(),
                                    [&question](const auto& results) { return results.first == question; });
    if (known != _results.end())
    {
        return known->second;
    }
    _results.emplace_back(question, _facts.queueResults(base, session));
    return _results.back().second;
}

bool CRecoveryMemory::isLiveListRejected()
{
    if (!_verdict)
    {
        _verdict = _facts.isLiveListRejected();
    }
    return *_verdict;
}

std::string CRecoveryMemory::rootClassOf(const std::string& modelFile)
{
    auto known = _rootClasses.find(modelFile);
    if (known == _rootClasses.end())
    {
        known = _rootClasses.emplace(modelFile, _facts.rootClassOf(modelFile)).first;
    }
    return known->second;
}

bool CRecoveryMemory::isDocument(const std::string& text)
{
    auto known = _documents.find(text);
    if (known == _documents.end())
    {
        known = _documents.emplace(text, _facts.isDocument(text)).first;
    }
    return known->second;
}

const std::optional<bool>& CRecoveryMemory::verdict() const
{
    return _verdict;
}

void CRecoveryMemory::suppose(bool isRejected)
{
    _verdict = isRejected;
}

} // namespace QMT
