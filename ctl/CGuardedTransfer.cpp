#include "ctl/CGuardedTransfer.h"

#include "base/CFileSnapshot.h"
#include "base/FileReplacement.h"

#include <algorithm>

namespace QMT
{

namespace
{

bool holds(const std::string& path, const std::string& content)
{
    return readIfThere(path) == content;
}

} // namespace

CGuardedTransfer::CGuardedTransfer(const std::string& qorPath, const std::string& lock, const FilePair& live,
                                   const FilePair& wanted)
    : _paths(qorPath), _lock(lock),
      _live({{_paths.configuration(), live.configuration.value(), live.configuration.value(),
              wanted.configuration.value()},
             {_paths.modelFileList(), live.list.value(), live.list.value(), wanted.list.value()}})
{
}

CGuardedTransfer::~CGuardedTransfer() = default;

void CGuardedTransfer::copy(const std::string& from, const std::string& to)
{
    const std::vector<std::string> lost = replaceFile(to, contentOf(from), from);
    if (std::any_of(_live.begin(), _live.end(), [&to](const Expected& file) { return file.paths.backup == to; }))
    {
        addLost(lost);
    }
}

void CGuardedTransfer::move(const std::string& from, const std::string& to)
{
    if (isLive(from))
    {
        return;
    }
    check();
    // Without its working copy, a new live file cannot be taken for the previous one.
    removeFile(from);
    Expected& file = expectedOf(to);
    if (file.content == file.wanted)
    {
        return;
    }
    file.next = file.wanted;
    addLost(replaceFile(to, file.wanted, to));
    file.content = file.wanted;
}

void CGuardedTransfer::check() const
{
    const bool isOurs = holds(_paths.lockFile(), _lock);
    if (isOurs && std::all_of(_live.begin(), _live.end(), isAsExpected))
    {
        return;
    }
    std::string what = "the files do not hold what was last read or written";
    if (!isOurs)
    {
        what = "the lock file " + _paths.lockFile() + " is gone or not ours";
    }
    throw CInterference("another run interfered, and nothing more was changed: " + what + "; look at " +
                        _paths.configuration().live + " and " + _paths.modelFileList().live);
}

void CGuardedTransfer::putBack(const std::string& path, const CFileSnapshot& before)
{
    check();
    Expected& file = expectedOf(path);
    if (file.content == *before.content() && file.next == file.content)
    {
        return;
    }
    file.content = *before.content();
    file.next = contentOf(path);
    addLost(before.restore());
    file.next = file.content;
}

const std::vector<std::string>& CGuardedTransfer::lost() const
{
    return _lost;
}

CGuardedTransfer::Expected& CGuardedTransfer::expectedOf(const std::string& path)
{
    return *std::find_if(_live.begin(), _live.end(), [&path](const Expected& file) { return file.paths.live == path; });
}

bool CGuardedTransfer::isLive(const std::string& path) const
{
    return std::any_of(_live.begin(), _live.end(), [&path](const Expected& file) { return file.paths.live == path; });
}

bool CGuardedTransfer::isAsExpected(const Expected& file)
{
    return holds(file.paths.live, file.content) || (file.next != file.content && holds(file.paths.live, file.next));
}

void CGuardedTransfer::addLost(const std::vector<std::string>& lost)
{
    for (const std::string& line : lost)
    {
        if (std::find(_lost.begin(), _lost.end(), line) == _lost.end())
        {
            _lost.push_back(line);
        }
    }
}

} // namespace QMT
