#include "ctl/CRecoveryAnalysis.h"
#include "ctl/DocumentComparison.h"

namespace QMT
{

void CRecoveryAnalysis::analyseUnlocked(Recovery& recovery)
{
    const FilePair& live = _now.live;
    const FilePair& backup = _now.backup;
    dropLeftovers(recovery);
    if (isListTornUnlocked())
    {
        finishRollback(recovery);
    }
    else if (live.list->empty() && backup.list && !backup.list->empty())
    {
        askForPair(recovery, "the list is empty: a rollback cut short, or the last model was removed");
    }
    else if (backup.configuration && !backup.list)
    {
        resolveLoneConfigurationBackup(recovery);
    }
    else if (isDocumentTornUnlocked())
    {
        resolveTornDocument(recovery);
    }
    else if (live.list == backup.list && live.configuration != backup.configuration && isDocument(backup.configuration))
    {
        askForPair(recovery, "the list equals its backup and the document does not: a rollback cut short, or "
                             "a finished commit that left the list alone");
    }
    resolveBackups(recovery);
}

/// A session file or a working copy without a lock file is no session.
void CRecoveryAnalysis::dropLeftovers(Recovery& recovery) const
{
    if (_now.session || _now.workingCopy != FilePair())
    {
        recovery.found = Found::STAGING_INTERRUPTED;
        recovery.after.session.reset();
        recovery.after.workingCopy = FilePair();
    }
}

/// A list that ends with a line feed, or an empty one, may have been edited by hand.
bool CRecoveryAnalysis::isListTornUnlocked() const
{
    const Text& list = _now.live.list;
    return !list || (!isWholeList(list) && (isTorn(list, _now.backup.list) || isTorn(list, _now.workingCopy.list)));
}

bool CRecoveryAnalysis::isDocumentTornUnlocked() const
{
    const Text& document = _now.live.configuration;
    const Text& backup = _now.backup.configuration;
    const Text& workingCopy = _now.workingCopy.configuration;
    if (!document)
    {
        return true;
    }
    if (document == backup)
    {
        return false;
    }
    return isTorn(document, backup) || isTorn(document, workingCopy) ||
           (!isDocument(document) && (isDocument(backup) || isDocument(workingCopy)));
}

bool CRecoveryAnalysis::canRestorePair() const
{
    const FilePair& live = _now.live;
    const FilePair& backup = _now.backup;
    const bool hasList = isWholeList(backup.list) || (live.list == backup.list && !isListTornUnlocked());
    const bool hasConfiguration = backup.configuration
                                      ? isDocument(backup.configuration) || live.configuration == backup.configuration
                                      : !isDocumentTornUnlocked();
    return hasList && hasConfiguration;
}

void CRecoveryAnalysis::restorePair(Recovery& recovery, Found found) const
{
    recovery.found = found;
    recovery.after.live.list = _now.backup.list;
    if (_now.backup.configuration)
    {
        recovery.after.live.configuration = _now.backup.configuration;
    }
    recovery.after.backup = FilePair();
}

void CRecoveryAnalysis::finishRollback(Recovery& recovery)
{
    const Text& document = _now.live.configuration;
    const Text& backup = _now.backup.configuration;
    if (!canRestorePair())
    {
        giveUp(recovery);
        return;
    }
    if (isDocument(document) && backup && document != backup && !isTorn(document, backup) &&
        !differInParticipantsOnly(*document, *backup))
    {
        askForPair(recovery, "the list is torn, and the document was edited since the last commit");
        return;
    }
    restorePair(recovery, Found::ROLLBACK_INTERRUPTED);
}

void CRecoveryAnalysis::askForPair(Recovery& recovery, const std::string& question)
{
    if (!canRestorePair())
    {
        giveUp(recovery);
        return;
    }
    if (!ask(recovery, question))
    {
        return;
    }
    if (!isAssumed(Assumption::NOTHING))
    {
        restorePair(recovery, isAssumed(Assumption::COMMIT) ? Found::COMMIT_INTERRUPTED : Found::ROLLBACK_INTERRUPTED);
    }
}

/// The list is not torn. Its backup exists, or there is no backup at all. A rollback restores the list first.
void CRecoveryAnalysis::resolveTornDocument(Recovery& recovery)
{
    const Text& document = _now.live.configuration;
    if (!_now.backup.configuration)
    {
        giveUp(recovery);
        return;
    }
    const bool isIncomplete = !document || isTorn(document, _now.backup.configuration);
    if (isIncomplete && _now.live.list == _now.backup.list)
    {
        finishRollback(recovery);
        return;
    }
    askForPair(recovery, "the document is missing or torn, and neither a commit nor a rollback leaves it so");
}

void CRecoveryAnalysis::resolveLoneConfigurationBackup(Recovery& recovery)
{
    const Text& document = _now.live.configuration;
    const Text& backup = _now.backup.configuration;
    const Found leftovers = recovery.found;
    if (document == backup)
    {
        recovery.found = Found::ROLLBACK_INTERRUPTED;
        recovery.after.backup.configuration.reset();
        return;
    }
    if (!isDocument(backup))
    {
        // The backup of a malformed document would equal it.
        if (!document)
        {
            giveUp(recovery);
            return;
        }
        removeBackups(recovery);
        return;
    }
    recovery.found = Found::ROLLBACK_INTERRUPTED;
    if (document && !isTorn(document, backup) && !differInParticipantsOnly(*document, *backup))
    {
        if (!ask(recovery, "the backup of the document is alone, and differs outside the participants too"))
        {
            return;
        }
        if (isAssumed(Assumption::NOTHING))
        {
            recovery.found = leftovers;
            return;
        }
        recovery.found = isAssumed(Assumption::COMMIT) ? Found::COMMIT_INTERRUPTED : Found::ROLLBACK_INTERRUPTED;
    }
    recovery.after.live.configuration = backup;
    recovery.after.backup.configuration.reset();
}

} // namespace QMT
