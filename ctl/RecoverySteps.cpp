#include "ctl/RecoverySteps.h"

#include "base/DiskSync.h"
#include "base/FileReplacement.h"
#include "base/WholeFile.h"
#include "impl/CFrameworkPaths.h"

#include <Poco/Error.h>
#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Path.h>

#include <sys/stat.h>

#include <cerrno>

namespace QMT
{

namespace
{

using Text = std::optional<std::string>;
using Steps = std::vector<RecoveryStep>;

/// What a file was and what it is to become.
struct Change
{
    const std::string& path;
    const Text& now;
    const Text& after;
};

void replace(Steps& steps, const Change& change, const std::string& source, const std::string& text)
{
    if (change.after && change.after != change.now)
    {
        steps.push_back({change.path, change.after, change.now ? change.path : source, text});
    }
}

void remove(Steps& steps, const Change& change)
{
    if (change.now && !change.after)
    {
        steps.push_back({change.path, std::nullopt, std::string(), "removed " + change.path});
    }
}

/// The paths are those of the configuration and of the list, in this order.
void removePair(Steps& steps, const std::pair<std::string, std::string>& paths, const FilePair& now,
                const FilePair& after)
{
    remove(steps, {paths.first, now.configuration, after.configuration});
    remove(steps, {paths.second, now.list, after.list});
}

void putBack(Steps& steps, const ManagedFile& file, Text FilePair::*state, const FrameworkContents& now,
             const FrameworkContents& after)
{
    const bool isFromBackup = after.live.*state == now.backup.*state;
    const std::string& source = isFromBackup ? file.backup : file.workingCopy;
    replace(steps, {file.live, now.live.*state, after.live.*state}, source,
            "put back " + file.live + " from " + source);
}

void renewWorkingCopy(Steps& steps, const ManagedFile& file, Text FilePair::*state, const FrameworkContents& now,
                      const FrameworkContents& after)
{
    replace(steps, {file.workingCopy, now.workingCopy.*state, after.workingCopy.*state}, file.live,
            "made " + file.workingCopy + " anew");
}

bool isNoRoom(int error)
{
    return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

/// A new directory, and with it whatever is in it unless it is kept.
class CNewDirectory
{
public:
    explicit CNewDirectory(const std::string& wanted) : _path(wanted)
    {
        const mode_t OWNER_ONLY = 0700;

        for (int number = 2; ::mkdir(_path.c_str(), OWNER_ONLY) != 0; ++number)
        {
            if (errno != EEXIST)
            {
                throw Poco::CreateFileException(Poco::Error::getMessage(errno), _path, errno);
            }
            _path = wanted + "-" + std::to_string(number);
        }
    }

    ~CNewDirectory()
    {
        try
        {
            if (!_isKept)
            {
                Poco::File(_path).remove(true);
            }
        }
        catch (const Poco::Exception&) // NOLINT(bugprone-empty-catch): what is left of the copy does no harm
        {
        }
    }

    CNewDirectory(const CNewDirectory&) = delete;
    CNewDirectory& operator=(const CNewDirectory&) = delete;
    CNewDirectory(CNewDirectory&&) = delete;
    CNewDirectory& operator=(CNewDirectory&&) = delete;

    const std::string& path() const
    {
        return _path;
    }

    void keep()
    {
        _isKept = true;
    }

private:
    std::string _path;
    bool _isKept = false;
};

std::string contentOf(const std::string& path)
{
    std::string content;
    if (readWholeFile(path, content) != ReadResult::READ)
    {
        throw Poco::ReadFileException("the file cannot be read", path);
    }
    return content;
}

/// The files that a step would lose, with their contents.
std::vector<std::pair<std::string, std::string>> filesToCopy(const Steps& steps)
{
    std::vector<std::pair<std::string, std::string>> files;
    for (const RecoveryStep& step : steps)
    {
        if (Poco::File(step.path).exists())
        {
            files.emplace_back(step.path, contentOf(step.path));
        }
    }
    return files;
}

} // namespace

std::vector<RecoveryStep> recoverySteps(const std::string& qorPath, const FrameworkContents& now,
                                        const FrameworkContents& after, const RecoveryOrder& order)
{
    const CFrameworkPaths paths(qorPath);
    const ManagedFile configuration = paths.configuration();
    const ManagedFile list = paths.modelFileList();
    const std::string session = paths.sessionFile();
    const std::string lock = paths.lockFile();
    const Change lockChange = {lock, now.lock, after.lock};
    Steps steps;
    if (order.isListFirst)
    {
        putBack(steps, list, &FilePair::list, now, after);
    }
    putBack(steps, configuration, &FilePair::configuration, now, after);
    if (!order.isListFirst)
    {
        putBack(steps, list, &FilePair::list, now, after);
    }
    if (order.areBackupsFirst)
    {
        removePair(steps, {configuration.backup, list.backup}, now.backup, after.backup);
    }
    renewWorkingCopy(steps, configuration, &FilePair::configuration, now, after);
    renewWorkingCopy(steps, list, &FilePair::list, now, after);
    if (!order.areBackupsFirst)
    {
        removePair(steps, {configuration.backup, list.backup}, now.backup, after.backup);
    }
    replace(steps, {session, now.session, after.session}, session, "kept the complete lines of " + session);
    replace(steps, lockChange, lock, "wrote the name of this host to " + lock);
    if (order.isLockFirst)
    {
        remove(steps, lockChange);
    }
    remove(steps, {session, now.session, after.session});
    remove(steps, {list.workingCopy, now.workingCopy.list, after.workingCopy.list});
    remove(steps, {configuration.workingCopy, now.workingCopy.configuration, after.workingCopy.configuration});
    if (!order.isLockFirst)
    {
        remove(steps, lockChange);
    }
    return steps;
}

std::string copyAside(const std::string& qorPath, const std::string& stamp, const std::vector<RecoveryStep>& steps)
{
    const auto files = filesToCopy(steps);
    std::string::size_type size = 0;
    for (const auto& [path, content] : files)
    {
        size += content.size();
    }
    const std::string wanted = CFrameworkPaths(qorPath).recoveryDirectory(stamp);
    try
    {
        CNewDirectory directory(wanted);
        for (const auto& [path, content] : files)
        {
            static_cast<void>(createFile(directory.path() + "/" + Poco::Path(path).getFileName(), content, path));
        }
        syncDirectoryOf(directory.path() + "/copy");
        syncDirectoryOf(directory.path());
        directory.keep();
        return directory.path();
    }
    catch (const Poco::FileException& exc)
    {
        if (!isNoRoom(exc.code()))
        {
            throw;
        }
        throw Poco::WriteFileException("there is no room for the copy, which takes " + std::to_string(size) + " bytes",
                                       wanted, ENOSPC);
    }
}

std::vector<std::string> execute(const RecoveryStep& step)
{
    if (step.content)
    {
        return replaceFile(step.path, *step.content, step.like);
    }
    removeFile(step.path);
    return std::vector<std::string>();
}

} // namespace QMT
