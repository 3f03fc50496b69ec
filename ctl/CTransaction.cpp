#include "ctl/CTransaction.h"

#include "app/CQorModelTool.h"
#include "base/CSignalCatcher.h"
#include "base/DiskSync.h"
#include "base/Existence.h"
#include "base/FileReplacement.h"
#include "base/WholeFile.h"
#include "ctl/SessionOwner.h"

#include <Poco/Exception.h>

#include <cerrno>
#include <functional>
#include <new>
#include <stdexcept>

namespace QMT
{

namespace
{

void requireNoSignal()
{
    if (CSignalCatcher::hasCaught())
    {
        throw Poco::SignalException(std::to_string(CSignalCatcher::caught()));
    }
}

/// Undoes what has been done, and reports why and with what result.
[[noreturn]] void giveUp(const std::string& reason, const std::function<void()>& undo)
{
    try
    {
        undo();
    }
    catch (const Poco::Exception& exc)
    {
        throw std::runtime_error(reason + "; the previous files could not be put back: " + exc.displayText() +
                                 "; call qor_mim_ctl recover");
    }
    throw std::runtime_error(reason + "; the previous files are back");
}

std::string ownLock()
{
    return applyLockContent(CQorModelToolImpl::getHostName());
}

} // namespace

CTransaction::CTransaction(const std::string& qorPath, const FilePair& live, const FilePair& wanted,
                           Poco::Logger& logger)
    : _qorPath(qorPath), _paths(qorPath), _before(live), _transfer(qorPath, ownLock(), live, wanted), _impl(&logger),
      _tool(std::make_unique<CQorModelTool>(&_impl, nullptr, qorPath))
{
    _impl.setTransfer(_transfer);
}

CTransaction::~CTransaction() = default;

bool CTransaction::open()
{
    _leftovers.push_back(std::make_unique<CFileSnapshot>(_paths.sessionFile()));
    _leftovers.push_back(std::make_unique<CFileSnapshot>(_paths.modelFileList().workingCopy));
    _leftovers.push_back(std::make_unique<CFileSnapshot>(_paths.configuration().workingCopy));
    try
    {
        // As in a staging call, the working copies are made before the lock file. Without one they belong to no
        // session, and a session that is opened at the same time makes the same copies.
        _impl.backupFiles();
        createFile(_paths.lockFile(), ownLock(), _paths.modelFileList().live);
    }
    catch (const Poco::FileException& exc)
    {
        if (exc.code() == EEXIST)
        {
            return false;
        }
        restoreLeftovers();
        throw;
    }
    try
    {
        if (hasBegun())
        {
            return true;
        }
    }
    catch (const Poco::Exception& exc)
    {
        giveUp(exc.displayText(), [this] { close(); });
    }
    close();
    return false;
}

bool CTransaction::hasBegun()
{
    syncDirectoryOf(_paths.lockFile());
    removeFile(_paths.sessionFile());
    _configuration = std::make_unique<CFileSnapshot>(_paths.configuration().live);
    _list = std::make_unique<CFileSnapshot>(_paths.modelFileList().live);
    _configurationBackup = std::make_unique<CFileSnapshot>(_paths.configuration().backup);
    _listBackup = std::make_unique<CFileSnapshot>(_paths.modelFileList().backup);
    return _before == FilePair{_configuration->content(), _list->content()};
}

Judgement CTransaction::commit(const CommandQueue& queue)
{
    try
    {
        Judgement judgement = install(queue);
        if (judgement.verdict == Judgement::Verdict::REJECTED)
        {
            requireNoSignal();
            undo();
        }
        else
        {
            _transfer.check();
            removeLock();
        }
        return judgement;
    }
    catch (const Poco::Exception& exc)
    {
        giveUp(exc.displayText(), [this] { undo(); });
    }
    catch (const std::bad_alloc& exc)
    {
        giveUp(exc.what(), [this] { undo(); });
    }
}

Judgement CTransaction::install(const CommandQueue& queue)
{
    makeBackups();
    _impl.queue() = queue;
    saveQueue();
    requireNoSignal();
    _areLiveFilesTouched = true;
    _impl.installWorkingCopies();
    requireNoSignal();
    return _impl.judge(_paths.modelFileListArgument());
}

void CTransaction::makeBackups()
{
    _areBackupsTouched = true;
    removeBackups();
    // The old backups, which are still open, would occupy the space that the new ones need.
    _configurationBackup->freeSpace();
    _listBackup->freeSpace();
    _impl.cfgBackup();
}

/// The configuration's backup is removed first, restored last and made first. So a recovery never takes a backup of the
/// list alone for half of a pair, and one of the configuration alone only for the first that a commit makes.
void CTransaction::removeBackups() const
{
    removeFile(_paths.configuration().backup);
    removeFile(_paths.modelFileList().backup);
}

void CTransaction::saveQueue()
{
    const std::string path = _paths.sessionFile();
    if (!_impl.saveFIFO() || readWholeFile(path, _session) != ReadResult::READ)
    {
        throw Poco::WriteFileException(path);
    }
}

const std::vector<std::string>& CTransaction::lost() const
{
    return _transfer.lost();
}

/// May be called again after a failure: completed steps are not repeated.
void CTransaction::undo()
{
    if (_isLockRemoved && (_areLiveFilesTouched || _areBackupsTouched))
    {
        createFile(_paths.lockFile(), ownLock(), _paths.modelFileList().live);
        _isLockRemoved = false;
    }
    if (!_isLockRemoved)
    {
        _transfer.check();
    }
    if (_areLiveFilesTouched)
    {
        restoreLiveFiles();
    }
    if (_areBackupsTouched)
    {
        restoreBackups();
    }
    close();
}

void CTransaction::restoreLiveFiles()
{
    // The session file is gone once both files are installed. It marks a pair that may be replaced by half, so it must
    // be back, and complete, before one of them is restored.
    static_cast<void>(replaceFile(_paths.sessionFile(), _session, _paths.modelFileList().live));
    _transfer.putBack(_paths.configuration().live, *_configuration);
    _transfer.putBack(_paths.modelFileList().live, *_list);
    _areLiveFilesTouched = false;
}

/// The working copies show that the session has not ended. The session file is removed, because its actions do not lead
/// from the restored backups to the live files.
void CTransaction::restoreBackups()
{
    if (!_configurationBackup->isUnchanged() || !_listBackup->isUnchanged())
    {
        ensureWorkingCopies();
        removeFile(_paths.sessionFile());
        removeBackups();
        static_cast<void>(_listBackup->restore());
        static_cast<void>(_configurationBackup->restore());
    }
    _areBackupsTouched = false;
}

/// Complete working copies are not made again, since a full disk may have no room for them.
void CTransaction::ensureWorkingCopies()
{
    if (readIfThere(_paths.configuration().workingCopy) != _configuration->content() ||
        readIfThere(_paths.modelFileList().workingCopy) != _list->content())
    {
        static_cast<void>(_impl.backupFiles());
    }
}

/// As when the tool drops a session, the working copy of the configuration is removed last, here by restoreLeftovers: a
/// lock file beside it is never taken for that of an installed commit.
void CTransaction::close()
{
    if (!_isLockRemoved)
    {
        removeFile(_paths.sessionFile());
        removeFile(_paths.modelFileList().workingCopy);
        removeLock();
    }
    restoreLeftovers();
}

void CTransaction::removeLock()
{
    try
    {
        _impl.endSession();
        _isLockRemoved = true;
    }
    catch (const Poco::Exception&)
    {
        // It may be removed without the removal being synced.
        _isLockRemoved = existenceOf(_paths.lockFile()) == Existence::ABSENT;
        throw;
    }
}

void CTransaction::restoreLeftovers() const
{
    for (const std::unique_ptr<CFileSnapshot>& file : _leftovers)
    {
        // With a lock file, these files belong to another session by now, whose working copies have the same content.
        if (existenceOf(_paths.lockFile()) == Existence::ABSENT)
        {
            static_cast<void>(file->restore());
        }
    }
}

} // namespace QMT
