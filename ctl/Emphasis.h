#ifndef QMT_Emphasis_INCLUDED
#define QMT_Emphasis_INCLUDED

#include <string>

namespace QMT
{

/// `text`, an error, as standard output may show it: in colour on a terminal, unless the environment
/// variable NO_COLOR or a terminal without colours forbids it.
std::string asError(const std::string& text);

/// The same for a warning.
std::string asWarning(const std::string& text);

} // namespace QMT

#endif // QMT_Emphasis_INCLUDED
