#ifndef QMT_QueueText_INCLUDED
#define QMT_QueueText_INCLUDED

#include "impl/Action.h"

#include <string>
#include <vector>

namespace QMT
{

/// What the text of a session file holds.
struct QueueText
{
    enum class Fault
    {
        NONE,
        INCOMPLETE, ///< there is no action, or a kind or a text has no counterpart
        NO_KIND     ///< a kind is not a number
    };

    std::vector<CommandQueueEntry> entries; ///< the actions up to the fault, oldest first
    Fault fault = Fault::NONE;
};

/// Reads the text of a session file, "kind:text" a line. Kinds are only checked to be numbers.
QueueText readQueueText(const std::string& text);

} // namespace QMT

#endif // QMT_QueueText_INCLUDED
