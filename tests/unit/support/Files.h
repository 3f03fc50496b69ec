#ifndef QMT_TEST_Files_INCLUDED
#define QMT_TEST_Files_INCLUDED

#include <cstddef>
#include <string>

namespace QMT::Test
{

/// The directory that holds `path`.
std::string directoryOf(const std::string& path);

/// The content of the file at `path`. Throws when the file cannot be read.
std::string readFile(const std::string& path);

/// Creates or replaces the file at `path`.
void writeFile(const std::string& path, const std::string& content);

/// Sets the modification time of the file at `path` to `seconds` since 1970.
void setModificationTime(const std::string& path, long seconds);

/// The permission bits of the file at `path`; a link is followed. Throws when there is no file.
unsigned int modeOf(const std::string& path);

/// Whether there is a file of any kind at `path`, even a dangling link.
bool exists(const std::string& path);

/// How many files the process has open.
std::ptrdiff_t openFileCount();

/// Replaces the file at `path` by a link to /dev/full: it can be opened, but every write fails.
void putFullDeviceAt(const std::string& path);

/// Replaces the file at `path` by an empty directory: it can be neither opened for writing nor read.
void putDirectoryAt(const std::string& path);

/// Replaces the file at `path` by a link to itself: it can be neither opened nor created.
void putLoopAt(const std::string& path);

/// Replaces the file at `path` by a named pipe without a writer: open would block forever.
void putPipeAt(const std::string& path);

/// Replaces the file at `path` by a socket: it exists, but cannot be opened.
void putSocketAt(const std::string& path);

} // namespace QMT::Test

#endif // QMT_TEST_Files_INCLUDED
