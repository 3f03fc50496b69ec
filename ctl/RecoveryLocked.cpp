#include "ctl/CRecoveryAnalysis.h"
#include "ctl/TornText.h"

#include <algorithm>
#include <utility>

namespace QMT
{

// A commit makes the backups, the document's first; edits the working copies; and installs the list and then the
// document, each by moving the live file to its backup and the working copy to the live file. It removes session file
// and lock file last. Each operation below looks for the traces of one of these steps.

void CRecoveryAnalysis::analyseLocked(Recovery& recovery)
{
    restoreLive(recovery);
    // The question is open, or the assumption leaves a file missing.
    if (recovery.found == Found::UNCLEAR || !recovery.after.live.configuration || !recovery.after.live.list)
    {
        return;
    }
    if (isLockAlone() && recovery.found == Found::NOTHING)
    {
        resolveLoneLock(recovery);
    }
    else
    {
        resolveSession(recovery);
    }
    resolveBackups(recovery);
}

/// A list that ends with a line feed may be complete: isListBeingInstalled decides about it.
bool CRecoveryAnalysis::isListTorn()
{
    const Text& list = _now.live.list;
    if (!list)
    {
        return true;
    }
    if (isWholeList(list) || list == _now.backup.list)
    {
        return false;
    }
    // A list that equals its copy is as the session found it, but a power cut can tear both alike.
    const bool isAsCopied = list == _now.workingCopy.list && list->find('\0') == std::string::npos;
    return isTornResult(_now.backup, &FilePair::list, list) ||
           (!isAsCopied && (isTorn(list, _now.workingCopy.list) || isTorn(list, _now.backup.list)));
}

bool CRecoveryAnalysis::isDocumentTorn()
{
    const Text& document = _now.live.configuration;
    const FilePair& copy = _now.workingCopy;
    if (!document)
    {
        return true;
    }
    const bool isBroken = !isDocument(document);
    // A document that equals its copy is as the session found it; but once the list has been installed and its copy is
    // gone, a power cut can tear both alike.
    if (document == copy.configuration && (!isBroken || copy.list))
    {
        return false;
    }
    return isTorn(document, copy.configuration) || isTorn(document, _now.backup.configuration) ||
           (isBroken && (isDocument(copy.configuration) || isDocument(_now.backup.configuration))) ||
           isTornResult(_now.backup, &FilePair::configuration, document);
}

void CRecoveryAnalysis::restoreLive(Recovery& recovery)
{
    const bool hasTornList = isListTorn();
    const bool hasTornDocument = isDocumentTorn();
    if (hasTornList || hasTornDocument)
    {
        restoreTorn(recovery, hasTornList, hasTornDocument);
        return;
    }
    if (isEditing())
    {
        undo(recovery, _now.live);
        return;
    }
    if (isBackingUpConfiguration())
    {
        undo(recovery, {_now.live.configuration, _now.backup.list});
        return;
    }
    restoreInstalled(recovery);
}

void CRecoveryAnalysis::restoreInstalled(Recovery& recovery)
{
    const std::vector<std::pair<Answered, const char*>> questions = {
        {isListInstalled(),
         "the list is what the queue makes of its backup: a commit cut short, or actions staged anew"},
        {isConfigurationInstalled(), "the document is what the queue makes of its backup, and the list is not"},
        {isListBeingInstalled(), "the list is the beginning of another: a commit cut short, or somebody's edit"}};
    for (const auto& [isCommit, question] : questions)
    {
        if (isCommit == Answered::UNKNOWN && !ask(recovery, question))
        {
            return;
        }
        if (isCommit == Answered::YES || (isCommit == Answered::UNKNOWN && isAssumed(Assumption::COMMIT)))
        {
            undo(recovery, _now.backup);
            return;
        }
    }
    const Answered isBackingUp = isBackingUpList();
    if (isBackingUp == Answered::UNKNOWN &&
        !ask(recovery, "the list was edited: by a commit cut short, or by somebody during the session"))
    {
        return;
    }
    if (isBackingUp == Answered::YES || (isBackingUp == Answered::UNKNOWN && isAssumed(Assumption::COMMIT)))
    {
        _areBackupsTorn = true;
        undo(recovery, _now.live);
    }
}

void CRecoveryAnalysis::undo(Recovery& recovery, const FilePair& pair)
{
    recovery.found = Found::COMMIT_INTERRUPTED;
    recovery.after.live = pair;
    _areWorkingCopiesStale = true;
}

void CRecoveryAnalysis::restoreTorn(Recovery& recovery, bool isList, bool isConfiguration)
{
    const std::optional<FilePair> committed = pairBeforeCommit(isList, isConfiguration);
    const std::optional<FilePair> staged = pairOfSession(isList, isConfiguration);
    if (committed && (!staged || *staged == *committed || isEdited(_now.backup, &FilePair::list) ||
                      isEdited(_now.backup, &FilePair::configuration)))
    {
        undo(recovery, *committed);
        return;
    }
    if (staged && !committed)
    {
        undo(recovery, *staged);
        return;
    }
    if (!staged && !(isWholeList(_now.backup.list) && isDocument(_now.backup.configuration)))
    {
        giveUp(recovery);
        return;
    }
    if (!ask(recovery, "a live file is missing or torn, and its previous content is unclear"))
    {
        return;
    }
    if (isAssumed(Assumption::COMMIT) || (isAssumed(Assumption::ROLLBACK) && !staged))
    {
        undo(recovery, _now.backup);
    }
    else if (staged)
    {
        undo(recovery, *staged);
    }
}

/// The pair that an interrupted commit was replacing, if the files are as a commit leaves them.
std::optional<FilePair> CRecoveryAnalysis::pairBeforeCommit(bool isListTorn, bool isConfigurationTorn)
{
    const FilePair& live = _now.live;
    const FilePair& backup = _now.backup;
    const bool hasList = isWholeList(backup.list) || isResultOf(backup, &FilePair::list, _now.workingCopy.list);
    if (!hasList)
    {
        return std::nullopt;
    }
    if (!isConfigurationTorn)
    {
        // A commit installs the document after the list.
        return live.configuration == backup.configuration ? std::optional<FilePair>(backup) : std::nullopt;
    }
    const bool isListDone = isListTorn || live.list == backup.list || isResultOf(backup, &FilePair::list, live.list);
    return isListDone && isDocument(backup.configuration) ? std::optional<FilePair>(backup) : std::nullopt;
}

/// The pair with which the session began, if it follows from the live files and the working copies.
std::optional<FilePair> CRecoveryAnalysis::pairOfSession(bool isListTorn, bool isConfigurationTorn) const
{
    const FilePair& live = _now.live;
    const FilePair& copy = _now.workingCopy;
    const bool isList = isListTorn ? isWholeList(copy.list) : live.list == copy.list;
    const bool isConfiguration =
        isConfigurationTorn ? isDocument(copy.configuration) : live.configuration == copy.configuration;
    return isList && isConfiguration ? std::optional<FilePair>(copy) : std::nullopt;
}

/// Whether the working copy is the result of the queue over `base` after some action, or a torn copy of one.
bool CRecoveryAnalysis::isEdited(const FilePair& base, FileOfPair file)
{
    const Text& copy = _now.workingCopy.*file;
    return isDifferent(copy, base.*file) && (isResultOf(base, file, copy) || isTornResult(base, file, copy));
}

/// Both backups are made before the first edit, and equal the live files until the first is installed.
bool CRecoveryAnalysis::isEditing()
{
    return _now.live == _now.backup && (isDifferent(_now.workingCopy.configuration, _now.live.configuration) ||
                                        isDifferent(_now.workingCopy.list, _now.live.list));
}

/// Whether the live list is being moved to its backup, or a power cut removed the name of a backup.
CRecoveryAnalysis::Answered CRecoveryAnalysis::isBackingUpList()
{
    const FilePair& backup = _now.backup;
    const FilePair& live = _now.live;
    if (wasNeverLive(live))
    {
        return Answered::YES;
    }
    if (backup.configuration && backup.list && !isTorn(backup.configuration, live.configuration) &&
        !isTorn(backup.list, live.list))
    {
        return Answered::NO;
    }
    // Only a commit makes a backup of a document that differs from its working copy.
    const bool isCopyEdited =
        live.configuration == backup.configuration && isDifferent(_now.workingCopy.configuration, live.configuration);
    if (isCopyEdited || isEdited(live, &FilePair::configuration) ||
        isResultOf(live, &FilePair::list, _now.workingCopy.list))
    {
        return Answered::YES;
    }
    // A torn list may look like a complete one.
    return isEdited(live, &FilePair::list) ? Answered::UNKNOWN : Answered::NO;
}

/// Whether the list is installed and the live document is being moved to its backup.
bool CRecoveryAnalysis::isBackingUpConfiguration()
{
    const FilePair base = {_now.live.configuration, _now.backup.list};
    if (!isTorn(_now.backup.configuration, _now.live.configuration) || !isWholeList(base.list))
    {
        return false;
    }
    const bool isListDone = !_now.workingCopy.list && isResultOf(base, &FilePair::list, _now.live.list);
    if (!isListDone && !isResultOf(base, &FilePair::configuration, _now.workingCopy.configuration))
    {
        return false;
    }
    _areBackupsTorn = true;
    return true;
}

/// Whether a commit has installed the list, and perhaps the document.
CRecoveryAnalysis::Answered CRecoveryAnalysis::isListInstalled()
{
    const FilePair& live = _now.live;
    const FilePair& copy = _now.workingCopy;
    const FilePair& backup = _now.backup;
    const bool isDocumentInstalled = isResultOf(backup, &FilePair::configuration, live.configuration);
    if (!isResultOf(backup, &FilePair::list, live.list) ||
        !(live.configuration == backup.configuration || isDocumentInstalled))
    {
        return Answered::NO;
    }
    if (!copy.list)
    {
        return Answered::YES;
    }
    if (isDocumentInstalled)
    {
        // A commit removes the working copy of the list before it installs the document.
        return Answered::NO;
    }
    const bool isCopyEdited = isDifferent(copy.configuration, live.configuration) ||
                              (isDifferent(copy.list, live.list) && isEdited(backup, &FilePair::list));
    if (isCopyEdited)
    {
        return Answered::YES;
    }
    // The session may repeat the actions of the last commit, if that changed only the list; or the same edit was made
    // by hand.
    const bool isOfWholeQueue = live.list == resultsOver(backup).back().list;
    return isOfWholeQueue || copy.list != live.list ? Answered::UNKNOWN : Answered::NO;
}

/// Whether a commit has installed the document, when the list does not show it: the queue may not change the list.
CRecoveryAnalysis::Answered CRecoveryAnalysis::isConfigurationInstalled()
{
    if (_now.workingCopy.list || !isResultOf(_now.backup, &FilePair::configuration, _now.live.configuration))
    {
        return Answered::NO;
    }
    return _now.live.list == _now.backup.list ? Answered::YES : Answered::UNKNOWN;
}

/// Whether an interrupted installation has torn the list, which is empty or ends with a line feed.
CRecoveryAnalysis::Answered CRecoveryAnalysis::isListBeingInstalled()
{
    const Text& list = _now.live.list;
    const FilePair& backup = _now.backup;
    const FilePair& copy = _now.workingCopy;
    if (_queue.empty() || !isWholeList(backup.list) || list == backup.list ||
        _now.live.configuration != backup.configuration)
    {
        return Answered::NO;
    }
    // A backup that is a prefix of the list may be one that is being made.
    const bool isBackupShort = isPrefixOf(*backup.list, *list);
    const bool isBeginning = isPrefixOf(*list, *backup.list) || isTornResult(backup, &FilePair::list, list) ||
                             (!isBackupShort && isTorn(list, copy.list));
    if (!isBeginning)
    {
        return Answered::NO;
    }
    if (isBackupShort && isResultOf(_now.live, &FilePair::list, copy.list))
    {
        return Answered::UNKNOWN;
    }
    if (isDifferent(copy.configuration, _now.live.configuration) ||
        (isDifferent(copy.list, list) && isEdited(backup, &FilePair::list)))
    {
        return Answered::YES;
    }
    // A list that equals its copy is as the session found it, unless a power cut tore both alike. resolveBackups
    // decides about one that is a prefix of its backup.
    const bool isAsCopied = list == copy.list && !list->empty();
    return isAsCopied && (isBackupShort || isPrefixOf(*list, *backup.list)) ? Answered::NO : Answered::UNKNOWN;
}

bool CRecoveryAnalysis::isLockAlone() const
{
    return !_now.session && _now.workingCopy == FilePair();
}

/// A lone lock is left by a call that was interrupted after it took the lock, or by a commit after its installation.
void CRecoveryAnalysis::resolveLoneLock(Recovery& recovery)
{
    const bool isInstalled = _now.backup.configuration && _now.backup.list && _now.backup != _now.live;
    recovery.found = isInstalled || _owner.isApply ? Found::COMMIT_INTERRUPTED : Found::STAGING_INTERRUPTED;
    endSession(recovery);
    const bool mustBeJudged = isInstalled && (_owner.isApply || hasMoreLinesThanBackup());
    if (!mustBeJudged || !_facts.isLiveListRejected())
    {
        return;
    }
    if (!_owner.isApply)
    {
        if (!ask(recovery, "the validator rejects the list: a commit was not judged, or a call never got its session"))
        {
            return;
        }
        if (!isAssumed(Assumption::COMMIT))
        {
            recovery.found = isAssumed(Assumption::ROLLBACK) ? Found::ROLLBACK_INTERRUPTED : Found::STAGING_INTERRUPTED;
            return;
        }
    }
    recovery.after.live = _now.backup;
}

bool CRecoveryAnalysis::hasMoreLinesThanBackup() const
{
    const std::vector<std::string> before = linesOf(*_now.backup.list);
    const std::vector<std::string> now = linesOf(*_now.live.list);
    const auto isNew = [&before](const std::string& line)
    { return std::find(before.begin(), before.end(), line) == before.end(); };
    return std::any_of(now.begin(), now.end(), isNew);
}

void CRecoveryAnalysis::resolveSession(Recovery& recovery)
{
    if (_owner.isApply || _queue.empty())
    {
        endSession(recovery);
        const Found found = _owner.isApply ? Found::COMMIT_INTERRUPTED : Found::STAGING_INTERRUPTED;
        recovery.found = recovery.found == Found::NOTHING ? found : recovery.found;
        return;
    }
    FrameworkContents& after = recovery.after;
    after.session = _queue;
    if (_owner.isTruncated)
    {
        after.lock = _facts.hostName();
    }
    for (const FileOfPair file : {&FilePair::configuration, &FilePair::list})
    {
        if (_areWorkingCopiesStale || isWorkingCopyTorn(file, after.live.*file))
        {
            after.workingCopy.*file = after.live.*file;
        }
    }
    const bool isChanged =
        after.session != _now.session || after.lock != _now.lock || after.workingCopy != _now.workingCopy;
    if (isChanged && recovery.found == Found::NOTHING)
    {
        recovery.found = Found::STAGING_INTERRUPTED;
    }
}

/// A working copy that differs in another way belongs to a live file that was edited during the session.
bool CRecoveryAnalysis::isWorkingCopyTorn(FileOfPair file, const Text& live)
{
    const Text& copy = _now.workingCopy.*file;
    if (!copy)
    {
        return true;
    }
    // A list that ends with a line feed may be complete, and the live list extended since. A backup was live.
    if (copy == live || copy == _now.backup.*file || (file == &FilePair::list && isWholeList(copy)))
    {
        return false;
    }
    return isTorn(copy, live) || isTornResult(_now.live, file, copy);
}

void CRecoveryAnalysis::endSession(Recovery& recovery)
{
    recovery.after.lock.reset();
    recovery.after.session.reset();
    recovery.after.workingCopy = FilePair();
}

} // namespace QMT
