#include "ctl/RecoverySteps.h"

#include "base/DiskSync.h"
#include "base/FileReplacement.h"
#include "impl/CFrameworkPaths.h"

#include <Poco/Error.h>
#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Path.h>

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace QMT
{

namespace
{

using Text = std::optional<std::string>;
using Steps = std::vector<RecoveryStep>;

/// One of the files and its path.
struct File
{
    ManagedContent content;
    const std::string& path;
};

/// Collects the steps from one state of the files to another.
class CSteps
{
public:
    CSteps(const FrameworkContents& now, const FrameworkContents& after) : _now(now), _after(after)
    {
    }

    void replace(const File& file, const std::string& source, const std::string& text)
    {
        const Text& now = file.content(_now);
        const Text& after = file.content(_after);
        if (after && after != now)
        {
            steps.push_back({file.path, after, now ? file.path : source, text, file.content});
        }
    }

    void putBack(const File& live, const File& backup, const std::string& workingCopy)
    {
        const std::string& source = live.content(_after) == backup.content(_now) ? backup.path : workingCopy;
        replace(live, source, "put back " + live.path + " from " + source);
    }

    void remove(const File& file)
    {
        if (file.content(_now) && !file.content(_after))
        {
            steps.push_back({file.path, std::nullopt, std::string(), "removed " + file.path, file.content});
        }
    }

    Steps steps;

private:
    FrameworkContents _now;
    FrameworkContents _after;
};

bool isNoRoom(int error)
{
    return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

/// A new directory, which is removed with its contents unless it is kept.
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
        if (!_isKept)
        {
            // What is left of the copy does no harm.
            std::error_code ignored;
            std::filesystem::remove_all(_path, ignored);
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

/// The paths and contents of the existing files that the steps replace or remove.
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
                                        const FrameworkContents& after)
{
    const CFrameworkPaths paths(qorPath);
    const ManagedFile configurationPaths = paths.configuration();
    const ManagedFile listPaths = paths.modelFileList();
    const std::string sessionPath = paths.sessionFile();
    const std::string lockPath = paths.lockFile();
    const File configuration = {[](auto& in) -> Text& { return in.live.configuration; }, configurationPaths.live};
    const File list = {[](auto& in) -> Text& { return in.live.list; }, listPaths.live};
    const File copy = {[](auto& in) -> Text& { return in.workingCopy.configuration; }, configurationPaths.workingCopy};
    const File listCopy = {[](auto& in) -> Text& { return in.workingCopy.list; }, listPaths.workingCopy};
    const File backup = {[](auto& in) -> Text& { return in.backup.configuration; }, configurationPaths.backup};
    const File listBackup = {[](auto& in) -> Text& { return in.backup.list; }, listPaths.backup};
    const File session = {[](auto& in) -> Text& { return in.session; }, sessionPath};
    const File lock = {[](auto& in) -> Text& { return in.lock; }, lockPath};

    CSteps all(now, after);
    all.putBack(configuration, backup, copy.path);
    all.putBack(list, listBackup, listCopy.path);
    all.replace(copy, configuration.path, "made " + copy.path + " anew");
    all.replace(listCopy, list.path, "made " + listCopy.path + " anew");
    all.remove(backup);
    all.remove(listBackup);
    all.replace(session, session.path, "kept the complete lines of " + session.path);
    all.replace(lock, lock.path, "wrote the name of this host to " + lock.path);
    all.remove(session);
    all.remove(listCopy);
    all.remove(copy);
    all.remove(lock);
    return all.steps;
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
