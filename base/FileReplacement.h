#ifndef QMT_FileReplacement_INCLUDED
#define QMT_FileReplacement_INCLUDED

#include <string>
#include <vector>

namespace QMT
{

/// Replaces or creates the file at `path`, so that it holds at every moment its old content or `content`, whole. On
/// return the file and its name are on the disk.
///
/// The file gets owner, group, mode and extended attributes, access control lists among them, of the file at `like`,
/// as far as the caller may set them. Returns what could not be kept, a line each. A missing `like` leaves the file to
/// its owner alone. A link at `path` is followed, so that it stays a link.
///
/// While the call runs, the new content stands beside the file under a name that ends in ".replacement"; what an
/// interrupted call left there is replaced.
///
/// Throws a Poco::FileException (or a relative) that names the file and, as its code, has the number of the system's
/// error; the file is as it was then.
std::vector<std::string> replaceFile(const std::string& path, const std::string& content, const std::string& like);

/// Creates the file at `path`, which must not exist, with `content`, on the disk on return but for its name. The rules
/// of replaceFile hold; a file that could not be written whole is removed again.
std::vector<std::string> createFile(const std::string& path, const std::string& content, const std::string& like);

/// Removes the file at `path`, or the link that stands there; its name is gone from the disk on return. A missing file
/// is no failure. Throws like replaceFile.
void removeFile(const std::string& path);

} // namespace QMT

#endif // QMT_FileReplacement_INCLUDED
