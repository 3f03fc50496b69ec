#ifndef QMT_CFrameworkCheck_INCLUDED
#define QMT_CFrameworkCheck_INCLUDED

#include "ctl/CFrameworkFacts.h"
#include "ctl/CRecoveryCache.h"
#include "ctl/CRemedies.h"
#include "ctl/Finding.h"
#include "ctl/FrameworkContents.h"
#include "ctl/Recovery.h"
#include "ctl/SessionOwner.h"
#include "impl/CFrameworkPaths.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// Finds all faults of a framework, once. Changes nothing.
class CFrameworkCheck
{
public:
    /// `qorPath` is the framework directory. Accesses no file.
    explicit CFrameworkCheck(const std::string& qorPath);

    /// All findings, in the order of their numbers and then of the files.
    ///
    /// Throws a Poco::FileException that names an existing file that cannot be read; for a live file that is a finding
    /// instead. Throws a Poco::Exception when there is no room to try a queue, or the validator's process cannot be
    /// created.
    std::vector<Finding> findAll();

private:
    /// A live file, the finding that it is missing, and the one that it cannot be read.
    struct LiveFile
    {
        ManagedFile paths;
        FileOfPair text = nullptr;
        FindingId missing = FindingId();
        FindingId unreadable = FindingId();
    };

    using Predicate = std::function<bool(const FrameworkContents&)>;

    void add(FindingId id, const std::optional<std::string>& file, const std::string& text, const std::string& remedy);

    // The installation and the live files (CFrameworkCheck.cpp).
    void checkProgram(FindingId id, const std::string& path, const std::string& what);
    void readFiles();
    void readLiveFile(const LiveFile& file);
    void checkMissing(const LiveFile& file);
    void checkContents();
    std::string documentRemedy();
    void checkOwnership(const ManagedFile& file);

    // The session, and what was interrupted (SessionCheck.cpp).
    void decideInterruption();
    bool isInterrupted() const;
    std::string recovery(const Predicate& isRecovered);
    std::string recoveryAtLast(const Predicate& isRecovered);
    std::string onOwnersHost(const std::string& command) const;
    std::string recoverCall();
    void checkInterruption();
    void checkSession();
    void checkForeignSession();
    std::string foreignRemedy();
    void checkStaleSession();
    void checkLeftover(const std::string& path, const std::optional<std::string>& text);
    void checkSessionFile();
    void checkLiveChanged(const LiveFile& file);

    const CFrameworkPaths _paths;
    const std::vector<LiveFile> _liveFiles;
    CFrameworkFacts _framework;
    CRecoveryCache _facts;
    CRemedies _remedies;

    FrameworkContents _now; ///< a live file that cannot be read has no content in it
    bool _areLiveFilesRead = true;
    SessionOwner _owner;
    Recovery _recovery; ///< what recover would do; NOTHING found unless both live files are read
    std::vector<Finding> _findings;
};

} // namespace QMT

#endif // QMT_CFrameworkCheck_INCLUDED
