#ifndef QMT_FileAttributes_INCLUDED
#define QMT_FileAttributes_INCLUDED

#include <string>
#include <vector>

namespace QMT
{

/// Gives the open file `to` owner, group, mode and extended attributes, access control lists among them, of the file at
/// `from`, as far as the caller may set them. `name` is the open file's name in messages.
///
/// Returns the attributes that could not be kept, one line each. Without a file at `from` nothing is changed.
std::vector<std::string> copyAttributes(const std::string& from, int to, const std::string& name);

} // namespace QMT

#endif // QMT_FileAttributes_INCLUDED
