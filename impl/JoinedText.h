#ifndef QMT_JoinedText_INCLUDED
#define QMT_JoinedText_INCLUDED

#include <string>
#include <vector>

namespace QMT
{

/// `words` in their order, with `separator` between neighbours, also empty ones.
std::string joinedText(const std::vector<std::string>& words, const std::string& separator);

} // namespace QMT

#endif // QMT_JoinedText_INCLUDED
