#ifndef QMT_ContainedLines_INCLUDED
#define QMT_ContainedLines_INCLUDED

#include <string>
#include <utility>
#include <vector>

namespace QMT
{

/// Finds the lines that are part of another, different one, each once and with one of those that contain it, in the
/// order of `lines`. Lines longer than a path can be are left out. Fast for many lines.
std::vector<std::pair<std::string, std::string>> findContainedLines(const std::vector<std::string>& lines);

} // namespace QMT

#endif // QMT_ContainedLines_INCLUDED
