#include "ctl/CRecoveryAnalysis.h"
#include "ctl/DocumentComparison.h"
#include "ctl/TornText.h"

#include <algorithm>

namespace QMT
{

/// A rollback restores both backups, so they must have been live together.
void CRecoveryAnalysis::resolveBackups(Recovery& recovery)
{
    const FilePair& backup = recovery.after.backup;
    if (recovery.found == Found::UNCLEAR || _isGivenUp || backup == FilePair())
    {
        return;
    }
    if (_areBackupsTorn)
    {
        removeBackups(recovery);
        return;
    }
    if (!backup.configuration || !backup.list)
    {
        resolveLoneBackup(recovery);
        return;
    }
    if (wasNeverLive(recovery.after.live))
    {
        removeBackups(recovery);
        return;
    }
    if (!areFromDifferentCommits(recovery))
    {
        return;
    }
    if (!ask(recovery,
             "the backups do not seem to belong together: a commit cut short, or one that changed the list alone"))
    {
        return;
    }
    if (isAssumed(Assumption::COMMIT))
    {
        removeBackups(recovery);
    }
}

/// A commit makes the document's backup first; a rollback restores the list's backup first.
void CRecoveryAnalysis::resolveLoneBackup(Recovery& recovery)
{
    const Text& backup = recovery.after.backup.configuration;
    const Text& live = _now.live.configuration;
    if (!backup || backup == live || isTorn(backup, live) || !isDocument(backup))
    {
        removeBackups(recovery);
        return;
    }
    if (!ask(recovery,
             "the backup of the document is alone and not its copy: a session begun after a rollback cut short"))
    {
        return;
    }
    if (isAssumed(Assumption::COMMIT))
    {
        removeBackups(recovery);
    }
    else if (isAssumed(Assumption::ROLLBACK))
    {
        recovery.found = Found::ROLLBACK_INTERRUPTED;
        recovery.after.live.configuration = backup;
        if (recovery.after.session)
        {
            recovery.after.workingCopy = recovery.after.live;
        }
        recovery.after.backup.configuration.reset();
    }
}

/// A backup that equals a live file, present or recovered, or a working copy was live, even if it is malformed.
bool CRecoveryAnalysis::wasNeverLive(const FilePair& live) const
{
    const auto isKnown = [&](FileOfPair file)
    {
        const Text& backup = _now.backup.*file;
        return !backup || backup == live.*file || backup == _now.live.*file || backup == _now.workingCopy.*file;
    };
    return (!isDocument(_now.backup.configuration) && !isKnown(&FilePair::configuration)) ||
           (!isWholeList(_now.backup.list) && !isKnown(&FilePair::list));
}

/// If the document's backup equals the live document and the list's backup differs, either a commit was interrupted
/// between its two copies, or the last commit did not change the document. The root class of a line that only one list
/// has shows whether the document would have changed with it.
bool CRecoveryAnalysis::areFromDifferentCommits(const Recovery& recovery)
{
    const FilePair& live = recovery.after.live;
    const FilePair& backup = recovery.after.backup;
    if (backup.configuration != live.configuration || !isDifferent(backup.list, live.list))
    {
        return false;
    }
    if (!_queue.empty() && isPrefixOf(*live.list, *backup.list))
    {
        // A power cut may also have torn the list and its copy alike.
        return true;
    }
    const std::vector<std::string> before = linesOf(*backup.list);
    const std::vector<std::string> now = linesOf(*live.list);
    const auto contradicts =
        [&](const std::vector<std::string>& some, const std::vector<std::string>& others, bool wouldBeServed)
    {
        return std::any_of(some.begin(), some.end(),
                           [&](const std::string& line)
                           {
                               if (std::find(others.begin(), others.end(), line) != others.end())
                               {
                                   return false;
                               }
                               const std::string rootClass = _facts.rootClassOf(line);
                               return !rootClass.empty() &&
                                      servesRootClass(*backup.configuration, rootClass) != wouldBeServed;
                           });
    };
    return contradicts(now, before, false) || contradicts(before, now, true);
}

void CRecoveryAnalysis::removeBackups(Recovery& recovery)
{
    recovery.after.backup = FilePair();
    if (recovery.found != Found::ROLLBACK_INTERRUPTED)
    {
        recovery.found = Found::COMMIT_INTERRUPTED;
    }
}

} // namespace QMT
