#ifndef QMT_ContainedLines_INCLUDED
#define QMT_ContainedLines_INCLUDED

#include <string>
#include <utility>
#include <vector>

namespace QMT
{

/// Finds each line that is part of another, different line. Returns pairs of such a line and one that contains it, each
/// line once, in the order of `lines`. Ignores lines that are longer than a path can be. Fast for many lines.
std::vector<std::pair<std::string, std::string>> findContainedLines(const std::vector<std::string>& lines);

} // namespace QMT

#endif // QMT_ContainedLines_INCLUDED
