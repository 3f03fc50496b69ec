#ifndef QMT_CTransaction_INCLUDED
#define QMT_CTransaction_INCLUDED

#include "base/CFileSnapshot.h"
#include "ctl/CGuardedTransfer.h"
#include "impl/CQorModelToolImpl.h"

#include <memory>
#include <string>
#include <vector>

namespace QMT
{

class CQorModelTool;

/// Installs a pair of files with known content, all or nothing, in a session of its own, with the steps of a commit.
///
/// Each step is synced before the next one begins, and after each step a recovery can find out from the files how to
/// undo it. The lock file holds applyLockContent. The session file exists while one live file may have been replaced
/// and the other not. The working copies exist while the backups are those of an earlier commit.
class CTransaction
{
public:
    /// For the framework directory `qorPath`. The content of the live files is to change from `live` to `wanted`; both
    /// pairs have both files. `logger`, not owned, gets the messages. The caller lock must be held. Accesses no file.
    CTransaction(const std::string& qorPath, const FilePair& live, const FilePair& wanted, Poco::Logger& logger);
    ~CTransaction();
    CTransaction(const CTransaction&) = delete;
    CTransaction& operator=(const CTransaction&) = delete;
    CTransaction(CTransaction&&) = delete;
    CTransaction& operator=(CTransaction&&) = delete;

    /// Opens the session. False when another session was opened or the live files were changed meanwhile. Throws a
    /// Poco::FileException when the session cannot be opened, and a std::runtime_error like commit(). After false and
    /// a Poco::FileException no file of the session is left.
    [[nodiscard]] bool open();

    /// Installs the files as the result of `queue`, and runs the validator. If it accepts or does not exist, the
    /// session is ended and everything is synced. If it rejects, all files are as before open().
    ///
    /// Throws a std::runtime_error whose text says whether all files are as before or the session stays, and a
    /// CInterference when another run has interfered. A signal caught by CSignalCatcher counts as a failure, unless
    /// the validator has accepted.
    Judgement commit(const CommandQueue& queue);

    /// The attributes of live files and backups that could not be kept, one line each.
    const std::vector<std::string>& lost() const;

private:
    Judgement install(const CommandQueue& queue);
    bool hasBegun();
    void saveQueue();
    void makeBackups();
    void removeBackups() const;
    void undo();
    void restoreLiveFiles();
    void restoreBackups();
    void ensureWorkingCopies();
    void close();
    void removeLock();
    void restoreLeftovers() const;

    const std::string _qorPath;
    const CFrameworkPaths _paths;
    const FilePair _before;
    CGuardedTransfer _transfer;
    CQorModelToolImpl _impl;
    std::unique_ptr<CQorModelTool> _tool;

    // The files before the session, including the leftovers of a session without a lock file, which are restored too.
    std::vector<std::unique_ptr<CFileSnapshot>> _leftovers;
    std::unique_ptr<CFileSnapshot> _configuration;
    std::unique_ptr<CFileSnapshot> _list;
    std::unique_ptr<CFileSnapshot> _configurationBackup;
    std::unique_ptr<CFileSnapshot> _listBackup;

    std::string _session; ///< the text of the queue, once it has been written
    bool _areBackupsTouched = false;
    bool _areLiveFilesTouched = false;
    bool _isLockRemoved = false;
};

} // namespace QMT

#endif // QMT_CTransaction_INCLUDED
