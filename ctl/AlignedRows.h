#ifndef QMT_AlignedRows_INCLUDED
#define QMT_AlignedRows_INCLUDED

#include <string>
#include <vector>

namespace QMT
{

/// The lines of a table: each row indented, its cells in columns. A very long cell does not widen the column, so it
/// does not push the other rows aside. The cells are valid UTF-8.
std::string alignedRows(const std::vector<std::vector<std::string>>& rows);

} // namespace QMT

#endif // QMT_AlignedRows_INCLUDED
