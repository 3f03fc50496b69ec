#ifndef QMT_CRecoveryCache_INCLUDED
#define QMT_CRecoveryCache_INCLUDED

#include "ctl/Recovery.h"

#include <list>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// A cache of facts, for decisions about many states of the same files. It has the operations of CRecoveryFacts; each
/// fact but the host name is found out once.
class CRecoveryCache
{
public:
    /// `facts` is not owned and outlives the object.
    explicit CRecoveryCache(CRecoveryFacts& facts);

    std::string hostName();

    /// The result is valid as long as the object.
    const std::vector<FilePair>& queueResults(const FilePair& base, const std::string& session);

    bool isLiveListRejected();
    std::string rootClassOf(const std::string& modelFile);
    bool isDocument(const std::string& text);

    /// The validator's verdict; none if it was not needed.
    const std::optional<bool>& verdict() const;

    /// From now on the validator is not run: it counts as rejecting the live list if `isRejected`, otherwise as
    /// accepting it.
    void assumeVerdict(bool isRejected);

private:
    /// The results of one queue over one pair.
    struct QueueResults
    {
        FilePair base;
        std::string session;
        std::vector<FilePair> results;
    };

    CRecoveryFacts& _facts;
    std::optional<bool> _verdict;
    std::map<std::string, std::string> _rootClasses;
    std::map<std::string, bool> _documents;
    std::list<QueueResults> _queueResults;
};

} // namespace QMT

#endif // QMT_CRecoveryCache_INCLUDED
