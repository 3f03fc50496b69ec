#ifndef QMT_CFrameworkPaths_INCLUDED
#define QMT_CFrameworkPaths_INCLUDED

#include "base/ManagedFile.h"

#include <string>

namespace QMT
{

/// The names of all files of a framework in one place. Those of the document come from the layer that edits it.
///
/// An object of this class names the files of one framework directory; it touches none of them.
class CFrameworkPaths
{
public:
    /// `qorPath` is the framework directory, with or without a trailing slash.
    explicit CFrameworkPaths(const std::string& qorPath);

    /// The directory of the model file list and of the session's files; ends with a slash.
    std::string modelDirectory() const;

    /// The framework's configuration document.
    ManagedFile configuration() const;

    /// The list of the installed model files.
    ManagedFile modelFileList() const;

    /// The live model file list as passed to the model validator: joined with its own slash, so that a framework
    /// directory with a trailing slash gives a doubled one.
    std::string modelFileListArgument() const;

    /// The queue of staged actions between two runs.
    std::string sessionFile() const;

    /// The marker of an open session.
    std::string lockFile() const;

    /// The file that the companion's callers lock, so that only one works at a time.
    std::string callerLockFile() const;

    /// Where the companion copies files before a recovery at the time `stamp`.
    std::string recoveryDirectory(const std::string& stamp) const;

    /// The framework directory when nothing names another one.
    static const std::string DEFAULT_QOR_PATH;

    /// The executable that knows the framework directory.
    static const std::string AGENT;

    /// The file whose first line names the framework directory. It does not follow the framework directory.
    static std::string environmentFile();

    /// The model validator. It does not follow the framework directory. The doubled slash in its path stays.
    static std::string validator();

private:
    std::string inModelDirectory(const std::string& file) const;

    const std::string _qorPath;
};

} // namespace QMT

#endif // QMT_CFrameworkPaths_INCLUDED
