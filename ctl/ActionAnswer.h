#ifndef QMT_ActionAnswer_INCLUDED
#define QMT_ActionAnswer_INCLUDED

#include "impl/Action.h"

#include <Poco/JSON/Object.h>

#include <string>

namespace QMT
{

// A queued action in both forms of an answer, JSON and text.

/// The JSON object of an action: its kind and the fields that the kind has.
Poco::JSON::Object::Ptr actionKeys(const Action& action);

/// The same for a queue entry. An unknown kind, and a text without separators, give kind and text only.
Poco::JSON::Object::Ptr actionKeys(const CommandQueueEntry& entry);

/// A line of text, ready for a terminal: the options that stage the action, or kind and text where there are none.
std::string actionLine(const CommandQueueEntry& entry);

} // namespace QMT

#endif // QMT_ActionAnswer_INCLUDED
