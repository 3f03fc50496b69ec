#ifndef QMT_CGuardedTransfer_INCLUDED
#define QMT_CGuardedTransfer_INCLUDED

#include "base/CTransfer.h"
#include "ctl/FrameworkContents.h"
#include "impl/CFrameworkPaths.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace QMT
{

class CFileSnapshot;

/// Another run has changed the files of a running transaction, which must then change no more files.
class CInterference : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Installs each file of a transaction atomically, with its attributes. Before each change of a live file it checks
/// that the files are as the transaction left them.
class CGuardedTransfer : public CTransfer
{
public:
    /// For the framework directory `qorPath`, whose lock file will hold `lock`. The transaction changes the content of
    /// the live files from `live` to `wanted`; both pairs have both files.
    CGuardedTransfer(const std::string& qorPath, const std::string& lock, const FilePair& live, const FilePair& wanted);
    ~CGuardedTransfer() override;
    CGuardedTransfer(const CGuardedTransfer&) = delete;
    CGuardedTransfer& operator=(const CGuardedTransfer&) = delete;
    CGuardedTransfer(CGuardedTransfer&&) = delete;
    CGuardedTransfer& operator=(CGuardedTransfer&&) = delete;

    /// Copies a live file atomically, with its attributes. Throws a Poco::FileException on failure.
    void copy(const std::string& from, const std::string& to) override;

    /// Removes the working copy `from` and gives the live file `to` its wanted content. Throws like check and
    /// replaceFile. A live file as `from` is left where it is: its backup has been made by copy.
    void move(const std::string& from, const std::string& to) override;

    /// Throws a CInterference, which names both live files, unless the lock file is that of the transaction and the
    /// live files hold what it last read or wrote. Throws a Poco::FileException when they cannot be read.
    void check() const;

    /// Restores the live file at `path` unless it has its old content. Throws like check and replaceFile.
    void putBack(const std::string& path, const CFileSnapshot& before);

    /// The attributes of live files and backups that could not be kept, one line each.
    const std::vector<std::string>& lost() const;

private:
    struct Expected
    {
        ManagedFile paths;
        std::string content; ///< the live file holds this,
        std::string next;    ///< or this while it is being written and when that failed
        std::string wanted;  ///< the content after the transaction
    };

    Expected& expectedOf(const std::string& path);
    bool isLive(const std::string& path) const;
    static bool isAsExpected(const Expected& file);
    void addLost(const std::vector<std::string>& lost);

    const CFrameworkPaths _paths;
    const std::string _lock;
    std::vector<Expected> _live;
    std::vector<std::string> _lost;
};

} // namespace QMT

#endif // QMT_CGuardedTransfer_INCLUDED
