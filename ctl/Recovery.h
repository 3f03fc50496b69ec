#ifndef QMT_Recovery_INCLUDED
#define QMT_Recovery_INCLUDED

#include "ctl/FrameworkContents.h"
#include "ctl/SessionOwner.h"

#include <optional>
#include <string>
#include <vector>

namespace QMT
{

class CRecoveryCache;

/// The kind of run that was interrupted, as far as the files show it.
enum class Found
{
    NOTHING,
    STAGING_INTERRUPTED,
    COMMIT_INTERRUPTED,
    ROLLBACK_INTERRUPTED,
    UNCLEAR ///< two interpretations of the files end differently, or a file is complete nowhere
};

/// The operator's answer to an unclear state: what was interrupted.
enum class Assumption
{
    COMMIT,
    ROLLBACK, ///< of a session or of a commit
    NOTHING   ///< neither commit nor rollback; at most a staging call
};

/// The decision for a framework.
struct Recovery
{
    Found found = Found::NOTHING;
    FrameworkContents after; ///< the recovered files; the present ones when the state is unclear
    std::string question;    ///< why the state is unclear, for the answer; otherwise empty
};

/// Facts that the decision needs besides the files.
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

    /// The results of a commit of the session file `session` over `base`, which has both files: the pair after each
    /// action, in order, up to an action that ends the commit. Empty when the document cannot be parsed or there is no
    /// action.
    virtual std::vector<FilePair> queueResults(const FilePair& base, const std::string& session) = 0;

    /// Whether the framework's validator rejects the live list. False without a validator.
    virtual bool isLiveListRejected() = 0;

    /// The root class of the model file at `modelFile`; empty when it has none or cannot be read.
    virtual std::string rootClassOf(const std::string& modelFile) = 0;

    /// Whether `text` can be parsed as a configuration document.
    virtual bool isDocument(const std::string& text);
};

/// Decides how to recover the files `now`. `owner` is the owner of the open session, if there is one. `assumption`
/// answers a question. Changes no file. `facts` may be used for other states of the same framework, too.
///
/// Does not guess: if two interpretations end differently and there is no assumption, the files stay as they are.
Recovery decideRecovery(const FrameworkContents& now, const SessionOwner& owner, CRecoveryCache& facts,
                        std::optional<Assumption> assumption);

} // namespace QMT

#endif // QMT_Recovery_INCLUDED
