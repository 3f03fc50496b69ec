#ifndef QMT_Action_INCLUDED
#define QMT_Action_INCLUDED

#include <cstdint>
#include <deque>
#include <string>
#include <utility>

namespace QMT
{

/// The kinds of queued action. The session file holds their numbers, which never change.
enum class CmdID : std::int32_t
{
    AddModelFile = 0,
    ModelHandler = 1,
    RemoveModelFile = 2,
    AddModelFileWithHandler = 3,
    RemoveModelFileWithHandler = 4
};

/// Whether an action of this kind names a handler.
bool hasHandler(CmdID kind);

/// What separates the fields in the text of a queued action.
const char FIELD_SEPARATOR = '|';

/// One queued action as the session file holds it: its kind and its text, one or more fields. A kind read from the
/// session file may be any number.
using CommandQueueEntry = std::pair<CmdID, std::string>;

/// The queued actions: pushed to the front as they come, taken from the back as they are applied.
using CommandQueue = std::deque<CommandQueueEntry>;

/// One queued action, split into its fields by CQorModelToolImpl::splitEntry.
struct Action
{
    CmdID kind = CmdID::AddModelFile;
    std::string path;    ///< the model file; the whole text of an action of an unknown kind; empty for a handler alone
    std::string handler; ///< empty for the kinds without one, like the versions
    std::string moVersion; ///< of the managed object
    std::string trVersion; ///< of the transactional resource

    /// The text of the queue entry: the fields that the kind has, joined.
    std::string text() const;

    /// The line of the status report.
    std::string statusLine() const;

    /// The line of the call that stages the action. Unlike in the status report, the line of a handler alone begins
    /// with a space, and that of an unknown kind is empty.
    std::string stagingLine() const;
};

} // namespace QMT

#endif // QMT_Action_INCLUDED
