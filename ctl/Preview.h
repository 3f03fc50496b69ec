#ifndef QMT_Preview_INCLUDED
#define QMT_Preview_INCLUDED

#include "ctl/FrameworkContents.h"
#include "impl/CQorModelToolImpl.h"

#include <Poco/JSON/Object.h>

#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// The outcome of one action.
enum class Outcome
{
    DONE,
    SKIPPED, ///< there is nothing to do
    FAILED   ///< or refused
};

/// One action that was tried.
struct TriedAction
{
    CommandQueueEntry entry;
    Poco::JSON::Object::Ptr keys; ///< the action itself, as the answer shows it
    std::string line;             ///< the same as text, ready for a terminal
    Outcome outcome = Outcome::FAILED;
    std::vector<std::string> messages; ///< of the edit, or why it is refused
};

/// What a transaction would do, tried on copies.
struct Preview
{
    std::vector<TriedAction> actions;
    FilePair before; ///< both files are there
    FilePair after;
    std::optional<Judgement> judgement; ///< of the list as it would be; none when the validator is not asked

    bool has(Outcome outcome) const;
    bool isRejected() const;
};

/// Tries what a commit of the session file with the content `session` would do with `base`, which has both files.
/// `document` is the configuration document's name in messages. The validator judges the list when the commit would ask
/// it.
///
/// Throws a Poco::Exception when there is no room for copies, the document cannot be parsed, or the validator's process
/// cannot be created.
Preview tryQueue(const FilePair& base, const std::string& session, const std::string& document);

/// Tries `actions` as a transaction of the companion: those already in effect are skipped, those that would do harm are
/// refused. Each sees the files as the earlier ones would leave them; one that is refused changes nothing for the
/// others. Relative paths are those of the working directory. With `isJudged` the validator judges the list, when
/// something is done and nothing refused. The copies are made in the first of `places` that has room. Throws like
/// tryQueue.
Preview tryActions(const FilePair& base, const std::vector<Action>& actions, const std::string& document, bool isJudged,
                   const std::vector<std::string>& places);

} // namespace QMT

#endif // QMT_Preview_INCLUDED
