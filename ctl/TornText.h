#ifndef QMT_TornText_INCLUDED
#define QMT_TornText_INCLUDED

#include <string>
#include <vector>

namespace QMT
{

// What an interrupted write leaves of a text, judged by the texts alone.

/// Whether `text` is what an interrupted write of `whole` leaves: a proper prefix, possibly empty.
bool isPrefixOf(const std::string& text, const std::string& whole);

/// Whether `text` is what a power cut leaves of `whole` when its size was synced but not its content: parts of
/// it, or all after a prefix, are NUL. False for a `whole` that contains NUL.
bool isNulFilledFrom(const std::string& text, const std::string& whole);

/// Either of them.
bool isTornCopyOf(const std::string& text, const std::string& whole);

/// Whether the last line of `text` has no line feed. An empty text has no line.
bool endsInsideLine(const std::string& text);

/// The lines of `text` that are not empty, without their line feeds.
std::vector<std::string> linesOf(const std::string& text);

/// The part of the session file `text` that holds complete lines: up to its last line feed, or to the line in which the
/// first NUL stands. Empty when that part holds no action.
std::string completeLines(const std::string& text);

} // namespace QMT

#endif // QMT_TornText_INCLUDED
