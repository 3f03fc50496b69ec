#ifndef QMT_TEST_Files_INCLUDED
#define QMT_TEST_Files_INCLUDED

#include <string>

namespace QMT::Test
{

/// The directory that holds `path`.
std::string directoryOf(const std::string& path);

/// The bytes of the file at `path`. Throws when there is no such file to be read.
std::string readFile(const std::string& path);

/// Makes or replaces the file at `path`.
void writeFile(const std::string& path, const std::string& content);

/// Makes `seconds`, counted since 1970, the time at which the file at `path` was last modified.
void setModificationTime(const std::string& path, long seconds);

/// Whether anything stands at `path`, be it a link to nowhere.
bool exists(const std::string& path);

/// How many files the process has open.
int openFileCount();

/// Puts a link to the device that is always full in the place of the file at `path`: it opens, and no write succeeds.
void putFullDeviceAt(const std::string& path);

/// Puts an empty directory in the place of the file at `path`: it cannot be opened for writing, nor read.
void putDirectoryAt(const std::string& path);

/// Puts a link to itself in the place of the file at `path`: it can be neither opened nor replaced by opening it.
void putLoopAt(const std::string& path);

/// Puts a pipe that nobody writes in the place of the file at `path`: opening it would wait for ever.
void putPipeAt(const std::string& path);

/// Puts a socket in the place of the file at `path`: it exists, and cannot be opened.
void putSocketAt(const std::string& path);

} // namespace QMT::Test

#endif // QMT_TEST_Files_INCLUDED
