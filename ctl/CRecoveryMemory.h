#ifndef QMT_CRecoveryMemory_INCLUDED
#define QMT_CRecoveryMemory_INCLUDED

#include "ctl/Recovery.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace QMT
{

/// A cache of facts, for decisions about many states of the same files.
class CRecoveryMemory : public CRecoveryFacts
{
public:
    /// `facts` is not owned and outlives the object.
    explicit CRecoveryMemory(CRecoveryFacts& facts);

    std::string hostName() override;
    std::vector<FilePair> queueResults(const FilePair& base, const std::string& session) override;
    bool isLiveListRejected() override;
    std::string rootClassOf(const std::string& modelFile) override;
    bool isDocument(const std::string& text) override;

    /// The validator's verdict; none if it was not needed.
    const std::optional<bool>& verdict() const;

    /// From now on the validator is not run: it counts as rejecting the live list if `isRejected`, otherwise as
    /// accepting it.
    void suppose(bool isRejected);

private:
    CRecoveryFacts& _facts;
    std::optional<bool> _verdict;
    std::map<std::string, std::string> _rootClasses;
    std::map<std::string, bool> _documents;
    std::vector<std::pair<std::pair<FilePair, std::string>, std::vector<FilePair>>> _results;
};

} // namespace QMT

#endif // QMT_CRecoveryMemory_INCLUDED
