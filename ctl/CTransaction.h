#ifndef QMT_CTransaction_INCLUDED
#define QMT_CTransaction_INCLUDED

#include "base/CKeptFile.h"
#include "ctl/CGuardedTransfer.h"
#include "impl/CQorModelToolImpl.h"

#include <memory>
#include <string>
#include <vector>

namespace QMT
{

class CQorModelTool;

/// Installs a pair of files whose content is known, all or nothing, in a session of its own, by the steps of a commit.
///
/// Each step is synced before the next one begins, and after each a recovery can tell from the files how to
/// undo it: the lock file has its own content; the queue exists as long as a live file may have been replaced and
/// the other one not; the working copies are there while the backups are those of an earlier commit.
class CTransaction
{
public:
    /// For the framework directory `qorPath`, whose live files hold `live` and shall hold `wanted`. `logger`, not
    /// owned, gets the messages. The caller lock must be held. Touches nothing.
    CTransaction(const std::string& qorPath, const FilePair& live, const FilePair& wanted, Poco::Logger& logger);
    ~CTransaction();
    CTransaction(const CTransaction&) = delete;
    CTransaction& operator=(const CTransaction&) = delete;
    CTransaction(CTransaction&&) = delete;
    CTransaction& operator=(CTransaction&&) = delete;

    /// Opens the session. False, and nothing is left of it, when another one has been opened meanwhile or the live
    /// files are no longer what they were. Throws a Poco::FileException when it cannot be opened, with nothing left
    /// of it, and a std::runtime_error like commit().
    [[nodiscard]] bool open();

    /// Installs the files as the result of `queue`, and runs the validator. When it accepts or does not
    /// exist, the session is over and all is synced; when it rejects, everything is as it was before open().
    ///
    /// Throws a std::runtime_error that tells whether everything is as it was or the session stays, and a CInterference
    /// when another run has interfered. A signal that CSignalCatcher has caught counts as a failure, unless the
    /// validator has accepted.
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
    void close();
    void removeLock();
    void restoreLeftovers() const;

    const std::string _qorPath;
    const CFrameworkPaths _paths;
    const FilePair _before;
    CGuardedTransfer _transfer;
    CQorModelToolImpl _impl;
    std::unique_ptr<CQorModelTool> _tool;

    // As they were before the session. What was there of a session without a lock file is put back, too.
    std::vector<std::unique_ptr<CKeptFile>> _leftovers;
    std::unique_ptr<CKeptFile> _configuration;
    std::unique_ptr<CKeptFile> _list;
    std::unique_ptr<CKeptFile> _configurationBackup;
    std::unique_ptr<CKeptFile> _listBackup;

    std::string _session; ///< the text of the queue, once it has been written
    bool _areBackupsTouched = false;
    bool _areLiveFilesTouched = false;
    bool _isLockRemoved = false;
};

} // namespace QMT

#endif // QMT_CTransaction_INCLUDED
