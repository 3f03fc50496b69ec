#ifndef QMT_UnifiedDiff_INCLUDED
#define QMT_UnifiedDiff_INCLUDED

#include <string>

namespace QMT
{

/// The unified difference of two texts by lines, three lines of context around each change; empty when they are equal.
/// Both header lines hold `name`. A text whose last line has no line feed is marked as usual.
///
/// The difference is always correct. It is the shortest one for texts that differ little. In large texts that differ
/// much, lines that occur once in both are matched, and the lines between them may count as replaced as a whole.
std::string unifiedDiff(const std::string& name, const std::string& before, const std::string& after);

} // namespace QMT

#endif // QMT_UnifiedDiff_INCLUDED
