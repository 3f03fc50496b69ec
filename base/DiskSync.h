#ifndef QMT_DiskSync_INCLUDED
#define QMT_DiskSync_INCLUDED

#include <string>

namespace QMT
{

/// Waits until the content of the file at `path` is on the disk. Its name is on the disk only after syncDirectoryOf.
/// A missing or unreadable file, and a file system without sync, count as done.
///
/// Throws a Poco::WriteFileException when the sync fails.
void syncFile(const std::string& path);

/// Waits until the names in the directory that holds `path` are on the disk: those that were added, replaced or
/// removed. The same cases count as done.
///
/// Throws a Poco::WriteFileException when the sync fails.
void syncDirectoryOf(const std::string& path);

} // namespace QMT

#endif // QMT_DiskSync_INCLUDED
