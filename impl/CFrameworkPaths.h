#ifndef QMT_CFrameworkPaths_INCLUDED
#define QMT_CFrameworkPaths_INCLUDED

#include "base/ManagedFile.h"

#include <string>

namespace QMT
{

/// The paths of all files of one framework directory. Those of the configuration document come from configurationFile.
/// Touches no file.
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

    /// The default framework directory.
    static const std::string DEFAULT_QOR_PATH;

    /// The framework agent, which prints the framework directory.
    static const std::string AGENT;

    /// The file whose first line names the framework directory. Always below the default framework directory.
    static std::string environmentFile();

    /// The model validator. Always below the default framework directory, with a doubled slash.
    static std::string validator();

private:
    std::string inModelDirectory(const std::string& file) const;

    const std::string _qorPath;
};

} // namespace QMT

#endif // QMT_CFrameworkPaths_INCLUDED
