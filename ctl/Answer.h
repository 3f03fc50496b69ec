#ifndef QMT_Answer_INCLUDED
#define QMT_Answer_INCLUDED

#include "ctl/Status.h"

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

#include <string>
#include <vector>

namespace QMT
{

/// The answer of a command, in both forms; the program writes one of them.
struct Answer
{
    Status status = Status::YES;

    /// The command's own keys, in the order in which they are written after "command", "framework" and
    /// "status". Strings in it may hold any bytes: invalid UTF-8 is replaced when it is written. A failure usually
    /// has none.
    Poco::JSON::Object keys = Poco::JSON::Object(Poco::JSON_PRESERVE_KEY_ORDER);

    /// The answer as text, ready for a terminal: names and contents in it have been through printable().
    std::string text;

    /// The messages of an edit, for standard error, before the error; not escaped. A message may have several lines.
    std::vector<std::string> messages;

    /// The error, for standard error and, unless the status is YES or NO, for the key "error"; not escaped.
    std::string error;

    /// An answer for a failure, without keys.
    static Answer failure(Status status, const std::string& error);

    /// The failure of a command that a signal ended before it changed anything.
    static Answer endedBySignal();
};

/// A JSON object that keeps the order of its keys.
Poco::JSON::Object::Ptr newObject();

/// The JSON array of `texts`.
Poco::JSON::Array::Ptr arrayOf(const std::vector<std::string>& texts);

} // namespace QMT

#endif // QMT_Answer_INCLUDED
