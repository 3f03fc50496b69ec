#ifndef QMT_TornText_INCLUDED
#define QMT_TornText_INCLUDED

#include <string>
#include <vector>

namespace QMT
{

// What an interrupted write leaves of a text, told from the texts alone.

/// Whether `text` is what a write of `whole` leaves that was cut short: a proper prefix, be it empty.
bool isPrefixOf(const std::string& text, const std::string& whole);

/// Whether `text` is what a power cut leaves of `whole` where the disk has taken the size and not the content: parts of
/// it, or what is behind a prefix, are NUL. A `whole` with NUL in it is no such text.
bool isNulFilledFrom(const std::string& text, const std::string& whole);

/// Either of them.
bool isCutFrom(const std::string& text, const std::string& whole);

/// Whether the last line of `text` has no line feed. An empty text has no line.
bool endsInsideLine(const std::string& text);

/// The lines of `text` that are not empty, without their line feeds.
std::vector<std::string> linesOf(const std::string& text);

/// The part of the session file `text` that holds complete lines: up to its last line feed, or to the line in which the
/// first NUL stands. Empty when that part holds no action.
std::string completeLines(const std::string& text);

} // namespace QMT

#endif // QMT_TornText_INCLUDED
