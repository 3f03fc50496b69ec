#ifndef QMT_Recovery_INCLUDED
#define QMT_Recovery_INCLUDED

#include "ctl/FrameworkContents.h"
#include "ctl/SessionOwner.h"

#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// What an interrupted run was, as far as the files tell.
enum class Found
{
    NOTHING,
    STAGING_INTERRUPTED,
    COMMIT_INTERRUPTED,
    ROLLBACK_INTERRUPTED,
    UNCLEAR ///< the files can be read in two ways that end differently, or one of them is whole nowhere
};

/// How somebody who knows answers what is unclear.
enum class Assumption
{
    COMMIT,
    ROLLBACK, ///< of either kind
    NOTHING   ///< no commit and no rollback, a staging call at most
};

/// What is to become of a framework.
struct Recovery
{
    Found found = Found::NOTHING;
    FrameworkContents after; ///< the files as they shall be; as they are when it is unclear
    std::string question;    ///< why it is unclear, for people; empty otherwise
};

/// What the reading of the files asks for beside them.
class CRecoveryFacts
{
public:
    CRecoveryFacts() = default;
    virtual ~CRecoveryFacts();
    CRecoveryFacts(const CRecoveryFacts&) = delete;
    CRecoveryFacts& operator=(const CRecoveryFacts&) = delete;
    CRecoveryFacts(CRecoveryFacts&&) = delete;
    CRecoveryFacts& operator=(CRecoveryFacts&&) = delete;

    /// The name of this host.
    virtual std::string hostName() = 0;

    /// What a commit makes of `base`, both files of which are there, by the session file `session`: the pair after
    /// each action, in their order. Empty when the document cannot be parsed or there is no action.
    virtual std::vector<FilePair> queueResults(const FilePair& base, const std::string& session) = 0;

    /// Whether the framework's validator rejects the live list. A missing validator does not.
    virtual bool isLiveListRejected() = 0;

    /// The root class of the model file at `modelFile`; empty when it has none or cannot be read.
    virtual std::string rootClassOf(const std::string& modelFile) = 0;

    /// Whether `text` can be parsed as a configuration document.
    virtual bool isDocument(const std::string& text);
};

/// Reads the files `now`, whose session, if one is open, is that of `owner`, and decides what is to become of them.
/// Changes nothing. `assumption` answers what is unclear.
///
/// Guesses nothing: where two readings end differently and no assumption tells, all stays.
Recovery decideRecovery(const FrameworkContents& now, const SessionOwner& owner, CRecoveryFacts& facts,
                        std::optional<Assumption> assumption);

} // namespace QMT

#endif // QMT_Recovery_INCLUDED
