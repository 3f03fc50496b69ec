#ifndef QMT_Finding_INCLUDED
#define QMT_Finding_INCLUDED

#include <optional>
#include <string>

namespace QMT
{

/// What may be wrong with a framework, in the order of the report.
enum class FindingId
{
    AGENT_MISSING,
    VALIDATOR_MISSING,
    CONFIGURATION_MISSING,
    LIST_MISSING,
    CONFIGURATION_UNREADABLE,
    LIST_UNREADABLE,
    PARTICIPANTS_NOT_ONE,
    PLACEHOLDER_NOT_FIRST,
    HANDLER_TWICE,
    ROOT_TWICE,
    ROOT_UNLISTED,
    MODEL_MISSING,
    MODEL_UNREADABLE,
    MODEL_ROOTLESS,
    MODEL_RELATIVE,
    MODEL_TWICE,
    MODEL_CONTAINED,
    LIST_END,
    SESSION_FOREIGN,
    SESSION_STALE,
    SESSION_LEFTOVER,
    SESSION_INVALID,
    LIVE_CHANGED,
    COMMIT_INTERRUPTED,
    ROLLBACK_INTERRUPTED,
    OWNERSHIP
};

/// Its identifier in answers.
std::string nameOf(FindingId id);

/// Whether the framework does not work with it, or will not; others are warnings.
bool isError(FindingId id);

/// One fault or warning. Its strings may hold any bytes.
struct Finding
{
    FindingId id = FindingId::AGENT_MISSING;
    std::optional<std::string> file; ///< the file to fix, if there is one
    std::string text;                ///< what is wrong, without the file's name
    std::string remedy;              ///< a command or an edit that resolves it and loses nothing
};

} // namespace QMT

#endif // QMT_Finding_INCLUDED
