#ifndef QMT_CRecoveryAnalysis_INCLUDED
#define QMT_CRecoveryAnalysis_INCLUDED

#include "ctl/CRecoveryCache.h"

#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// One analysis of a framework's files. The interface is decideRecovery.
///
/// The steps modify the recovery that they are given. A step that asks a question without an answer makes it unclear,
/// which ends the analysis.
class CRecoveryAnalysis
{
public:
    CRecoveryAnalysis(const FrameworkContents& now, const SessionOwner& owner, CRecoveryCache& facts,
                      std::optional<Assumption> assumption);

    Recovery decide();

    /// Whether the files left a question, whether or not the assumption answered it.
    bool hasAsked() const;

private:
    using Text = std::optional<std::string>;
    using Results = std::vector<FilePair>;

    /// An answer from the files, if they give one.
    enum class Answered
    {
        YES,
        NO,
        UNKNOWN
    };

    // Questions (Recovery.cpp).
    [[nodiscard]] bool ask(Recovery& recovery, const std::string& question);
    void giveUp(Recovery& recovery);
    bool isAssumed(Assumption assumption) const;

    // The state of single files (Recovery.cpp).
    static bool isDifferent(const Text& one, const Text& other);
    static bool isTorn(const Text& text, const Text& whole);
    bool isDocument(const Text& text) const;
    static bool isWholeList(const Text& text);
    const Results& resultsOver(const FilePair& base);
    bool isResultOf(const FilePair& base, FileOfPair file, const Text& text);
    bool isTornResult(const FilePair& base, FileOfPair file, const Text& text);

    // Without a lock file (RecoveryUnlocked.cpp).
    void analyseUnlocked(Recovery& recovery);
    void dropLeftovers(Recovery& recovery) const;
    bool isListTornUnlocked() const;
    bool isDocumentTornUnlocked() const;
    bool canRestorePair() const;
    void restorePair(Recovery& recovery, Found found) const;
    void finishRollback(Recovery& recovery);
    void askForPair(Recovery& recovery, const std::string& question);
    void resolveTornDocument(Recovery& recovery);
    void resolveLoneConfigurationBackup(Recovery& recovery);

    // Under a lock file (RecoveryLocked.cpp).
    void analyseLocked(Recovery& recovery);
    bool isListTorn();
    bool isDocumentTorn();
    void restoreLive(Recovery& recovery);
    void restoreInstalled(Recovery& recovery);
    void restoreTorn(Recovery& recovery, bool isList, bool isConfiguration);
    std::optional<FilePair> pairBeforeCommit(bool isListTorn, bool isConfigurationTorn);
    std::optional<FilePair> pairOfSession(bool isListTorn, bool isConfigurationTorn) const;
    bool isEditing();
    Answered isBackingUpList();
    bool isBackingUpConfiguration();
    Answered isListInstalled();
    Answered isConfigurationInstalled();
    Answered isListBeingInstalled();
    bool isEdited(const FilePair& base, FileOfPair file);
    void undo(Recovery& recovery, const FilePair& pair);
    bool isLockAlone() const;
    void resolveLoneLock(Recovery& recovery);
    bool hasMoreLinesThanBackup() const;
    void resolveSession(Recovery& recovery);
    bool isWorkingCopyTorn(FileOfPair file, const Text& live);
    static void endSession(Recovery& recovery);

    // Backups (RecoveryBackups.cpp).
    void resolveBackups(Recovery& recovery);
    void resolveLoneBackup(Recovery& recovery);
    bool wasNeverLive(const FilePair& live) const;
    bool areFromDifferentCommits(const Recovery& recovery);
    static void removeBackups(Recovery& recovery);

    // The input. The files, the owner and the facts are not owned and outlive the object.
    const FrameworkContents& _now;
    const SessionOwner& _owner;
    CRecoveryCache& _facts;
    const std::optional<Assumption> _assumption;

    const std::string _queue; ///< the complete lines of the session file

    bool _hasAsked = false;
    bool _isGivenUp = false; ///< by the assumption, a live file stays torn

    // Set by restoreLive.
    bool _areWorkingCopiesStale = false; ///< edited by the commit, or copies of files that were restored
    bool _areBackupsTorn = false;        ///< the commit was interrupted while it made them
};

} // namespace QMT

#endif // QMT_CRecoveryAnalysis_INCLUDED
