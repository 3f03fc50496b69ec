#ifndef QMT_PrintedText_INCLUDED
#define QMT_PrintedText_INCLUDED

#include <string>

namespace QMT
{

/// `text` with U+FFFD in the place of every byte that does not belong to a UTF-8 character.
std::string validUtf8(const std::string& text);

/// `text` as a terminal may show it: valid UTF-8, with every control character, line feeds included, in the form \n, \t
/// or \x1b, so that no terminal interprets it.
std::string printable(const std::string& text);

/// The same for a text of several lines: line feeds and tabs stay.
std::string printableLines(const std::string& text);

} // namespace QMT

#endif // QMT_PrintedText_INCLUDED
