#ifndef QMT_FileReplacement_INCLUDED
#define QMT_FileReplacement_INCLUDED

#include <string>
#include <vector>

namespace QMT
{

/// Replaces or creates the file at `path` atomically: at every moment it holds its old content or `content`. On
/// return the file and its name are synced.
///
/// The file gets owner, group, mode and extended attributes, access control lists among them, of the file at `like`,
/// as far as the caller may set them. Returns what was not kept, one line each. Without a file at `like` the mode is
/// 0600. A link at `path` is followed, so that it stays a link.
///
/// During the call the new content is in a file beside it whose name ends in ".replacement"; what an
/// interrupted call left there is overwritten.
///
/// Throws a Poco::FileException (or a subclass) that names the file and has errno as its code; the file is then
/// unchanged. When the directory cannot be synced, throws a Poco::WriteFileException that names the directory; the file
/// is replaced by then.
std::vector<std::string> replaceFile(const std::string& path, const std::string& content, const std::string& like);

/// Creates the file at `path` with `content`, which is synced on return; its name is not. An existing file or link at
/// `path` is an error with the code EEXIST. Otherwise like replaceFile; a file that could not be written completely is
/// removed again.
std::vector<std::string> createFile(const std::string& path, const std::string& content, const std::string& like);

/// Removes the file or the link at `path`; the removal is synced on return. A missing file is not an error. Throws like
/// replaceFile.
void removeFile(const std::string& path);

} // namespace QMT

#endif // QMT_FileReplacement_INCLUDED
