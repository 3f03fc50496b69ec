#ifndef QMT_ManagedFile_INCLUDED
#define QMT_ManagedFile_INCLUDED

#include <string>

namespace QMT
{

/// The paths of one file that is changed by transactions: edited as a copy, installed as a whole, restored if needed.
struct ManagedFile
{
    std::string live;        ///< what others read
    std::string workingCopy; ///< what a transaction edits
    std::string backup;      ///< what a rollback restores

    /// The file `name` in the directory `directory` below `root`, each with or without a trailing slash. Touches no
    /// file.
    static ManagedFile in(const std::string& root, const std::string& directory, const std::string& name);
};

/// One of the paths of a managed file, whichever file it is.
using ManagedFilePath = std::string ManagedFile::*;

} // namespace QMT

#endif // QMT_ManagedFile_INCLUDED
