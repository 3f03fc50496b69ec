#ifndef QMT_FileTransfer_INCLUDED
#define QMT_FileTransfer_INCLUDED

#include <string>

namespace QMT
{

/// Copies the file at `from` to `to`, replacing the content of an existing file there. An existing directory at `to`
/// gets the file under its old name.
///
/// Throws a Poco::FileException (or a subclass) when that fails, also when one name leads to a pipe, or both
/// to the same file, which the copy would truncate. The file at `to` may be incomplete after a failure.
void copyFile(const std::string& from, const std::string& to);

/// Moves the file at `from` to `to` by copying and removing it, with the same rules. The file at `from` stays until the
/// copy is complete.
void moveFile(const std::string& from, const std::string& to);

} // namespace QMT

#endif // QMT_FileTransfer_INCLUDED
