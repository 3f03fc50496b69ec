#include "ctl/CFrameworkCheck.h"
#include "impl/QueueText.h"

#include <Poco/String.h>
#include <Poco/StringTokenizer.h>

namespace QMT
{

namespace
{

bool isQueue(const std::string& text)
{
    return readQueueText(text).fault == QueueText::Fault::NONE;
}

/// The numbers of the lines that hold anything but one action; `count` is how many hold one.
std::vector<std::string> faultyLines(const std::string& queue, std::size_t& count)
{
    const Poco::StringTokenizer lines(queue, "\n");
    std::vector<std::string> faulty;
    count = 0;
    for (std::size_t i = 0; i < lines.count(); ++i)
    {
        const bool isBlank = Poco::trim(lines[i]).empty();
        const bool isAction = isQueue(lines[i]) && readQueueText(lines[i]).entries.size() == 1;
        count += isAction ? 1 : 0;
        if (!isBlank && !isAction)
        {
            faulty.push_back(std::to_string(i + 1));
        }
    }
    return faulty;
}

} // namespace

void CFrameworkCheck::decideInterruption()
{
    if (_areLiveFilesRead)
    {
        _recovery = decideRecovery(_now, _owner, _facts, std::nullopt);
    }
    if (isInterrupted() || !_now.lock)
    {
        return;
    }
    for (const LiveFile& file : _liveFiles)
    {
        if (_now.live.*file.text && _now.live.*file.text == _now.workingCopy.*file.text)
        {
            _remedies.keepEqual(file.paths.live, file.paths.workingCopy);
        }
    }
}

/// The lock file of an interrupted staging call beside the backups of an older commit looks like that of an interrupted
/// commit beside its own.
bool CFrameworkCheck::isInterrupted() const
{
    const bool isStale = _now.lock && !_now.session && !_owner.isApply && _recovery.after.live == _now.live;
    const bool isCommit = _recovery.found == Found::COMMIT_INTERRUPTED && !isStale;
    return isCommit || _recovery.found == Found::ROLLBACK_INTERRUPTED;
}

/// The call that recovers to files of which `isRecovered` is true; empty when there is none.
std::string CFrameworkCheck::recovery(const Predicate& isRecovered)
{
    if (!_areLiveFilesRead)
    {
        return std::string();
    }
    if (_recovery.found != Found::UNCLEAR)
    {
        return isRecovered(_recovery.after) ? recoverCall() : std::string();
    }
    const std::vector<std::pair<Assumption, std::string>> assumptions = {
        {Assumption::NOTHING, "nothing"}, {Assumption::ROLLBACK, "rollback"}, {Assumption::COMMIT, "commit"}};
    for (const auto& [assumption, word] : assumptions)
    {
        if (isRecovered(decideRecovery(_now, _owner, _facts, assumption).after))
        {
            return onOwnersHost(_remedies.call("recover --assume=" + word));
        }
    }
    return std::string();
}

/// The same; when there is none, the remedies of the live files, followed by the call that then recovers.
std::string CFrameworkCheck::recoveryAtLast(const Predicate& isRecovered)
{
    std::string remedy = recovery(isRecovered);
    if (!remedy.empty())
    {
        return remedy;
    }
    for (const Finding& finding : _findings)
    {
        if (finding.id >= FindingId::CONFIGURATION_MISSING && finding.id <= FindingId::LIST_UNREADABLE)
        {
            remedy += "for " + finding.file.value() + ": " + finding.remedy + "; then: ";
        }
    }
    return remedy + recoverCall();
}

std::string CFrameworkCheck::onOwnersHost(const std::string& command) const
{
    return _now.lock && !_owner.mayBeOurs() ? "on the host " + _owner.host + ": " + command : command;
}

std::string CFrameworkCheck::recoverCall()
{
    return onOwnersHost(_remedies.call("recover"));
}

void CFrameworkCheck::checkInterruption()
{
    if (!isInterrupted())
    {
        return;
    }
    const bool isCommit = _recovery.found == Found::COMMIT_INTERRUPTED;
    add(isCommit ? FindingId::COMMIT_INTERRUPTED : FindingId::ROLLBACK_INTERRUPTED, std::nullopt,
        std::string("a ") + (isCommit ? "commit" : "rollback") + " was interrupted, unless one is running just now",
        recoverCall());
}

void CFrameworkCheck::checkSession()
{
    if (isInterrupted())
    {
        return;
    }
    if (_now.lock)
    {
        checkStaleSession();
    }
    else
    {
        checkLeftover(_paths.sessionFile(), _now.session);
        for (const LiveFile& file : _liveFiles)
        {
            checkLeftover(file.paths.workingCopy, _now.workingCopy.*file.text);
        }
    }
    checkSessionFile();
    for (const LiveFile& file : _liveFiles)
    {
        checkLiveChanged(file);
    }
    if (_now.lock)
    {
        checkForeignSession();
    }
}

void CFrameworkCheck::checkForeignSession()
{
    if (!_owner.mayBeOurs())
    {
        add(FindingId::SESSION_FOREIGN, _paths.lockFile(), "the host " + _owner.host + " has a session open",
            foreignRemedy());
    }
}

/// A commit skips the part of a session that it cannot read, and drops the whole session when a live file was changed.
std::string CFrameworkCheck::foreignRemedy()
{
    if (_owner.isApply)
    {
        return recoverCall();
    }
    std::string remedy;
    for (const Finding& finding : _findings)
    {
        if (finding.id == FindingId::SESSION_STALE)
        {
            return finding.remedy;
        }
        if (finding.id == FindingId::SESSION_INVALID || finding.id == FindingId::LIVE_CHANGED)
        {
            remedy += finding.remedy + "; then: ";
        }
    }
    return remedy + onOwnersHost(_remedies.commit());
}

void CFrameworkCheck::checkStaleSession()
{
    if (_now.session && !_owner.isTruncated)
    {
        return;
    }
    const std::string text =
        _now.session ? "the lock file does not hold the name of a host" : "there is a lock file and no session file";
    add(FindingId::SESSION_STALE, _paths.lockFile(), text,
        recoveryAtLast([](const FrameworkContents& after) { return !after.lock || after.session; }));
}

void CFrameworkCheck::checkLeftover(const std::string& path, const std::optional<std::string>& text)
{
    if (text)
    {
        const auto isDropped = [](const FrameworkContents& after)
        { return !after.session && after.workingCopy == FilePair(); };
        add(FindingId::SESSION_LEFTOVER, path, "the file belongs to no session", recoveryAtLast(isDropped));
    }
}

void CFrameworkCheck::checkSessionFile()
{
    if (!_now.session || isQueue(*_now.session))
    {
        return;
    }
    const std::string path = _paths.sessionFile();
    std::size_t actionCount = 0;
    const std::vector<std::string> lines = faultyLines(*_now.session, actionCount);
    std::string remedy =
        recovery([](const FrameworkContents& after) { return !after.session || isQueue(*after.session); });
    if (remedy.empty() && actionCount > 0)
    {
        remedy = onOwnersHost("in " + path + ", remove or correct these lines, which are not of the form KIND:TEXT: " +
                              Poco::cat(std::string(", "), lines.begin(), lines.end()));
    }
    else if (remedy.empty())
    {
        remedy = onOwnersHost("mv " + shellWord(path) + " " + shellWord(path + ".invalid") + " && " +
                              _remedies.call("recover"));
    }
    add(FindingId::SESSION_INVALID, path, "the session file cannot be parsed", remedy);
}

void CFrameworkCheck::checkLiveChanged(const LiveFile& file)
{
    const std::optional<std::string>& live = _now.live.*file.text;
    if (!_now.lock || !_now.session || !live || live == _now.workingCopy.*file.text)
    {
        return;
    }
    const std::string copy = shellWord(file.paths.workingCopy);
    const std::string keep = "cp -p " + copy + " " + shellWord(file.paths.workingCopy + ".old") + " && ";
    add(FindingId::LIVE_CHANGED, file.paths.live,
        "the file differs from its working copy, so that a commit would undo the session",
        (_now.workingCopy.*file.text ? keep : std::string()) + "cp " + shellWord(file.paths.live) + " " + copy);
}

} // namespace QMT
