#include "ctl/CFrameworkCheck.h"

#include "ctl/DocumentFindings.h"
#include "ctl/ListFindings.h"

#include <Poco/Exception.h>
#include <Poco/Path.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace QMT
{

namespace
{

const unsigned int PERMISSIONS = 07777;

std::string ownershipOf(const struct stat& status)
{
    std::ostringstream text;
    text << status.st_uid << ":" << status.st_gid << " " << std::oct << std::setw(4) << std::setfill('0')
         << (status.st_mode & PERMISSIONS);
    return text.str();
}

} // namespace

CFrameworkCheck::CFrameworkCheck(const std::string& qorPath)
    : _paths(qorPath),
      _liveFiles({{_paths.configuration(), &FilePair::configuration, FindingId::CONFIGURATION_MISSING,
                   FindingId::CONFIGURATION_UNREADABLE},
                  {_paths.modelFileList(), &FilePair::list, FindingId::LIST_MISSING, FindingId::LIST_UNREADABLE}}),
      _framework(qorPath), _facts(_framework), _remedies(qorPath)
{
}

std::vector<Finding> CFrameworkCheck::findAll()
{
    checkProgram(FindingId::AGENT_MISSING, CFrameworkPaths::AGENT, "framework agent");
    checkProgram(FindingId::VALIDATOR_MISSING, Poco::Path(CFrameworkPaths::validator()).toString(), "model validator");
    readFiles();
    decideInterruption();
    for (const LiveFile& file : _liveFiles)
    {
        checkMissing(file);
    }
    checkContents();
    checkSession();
    checkInterruption();
    for (const LiveFile& file : _liveFiles)
    {
        checkOwnership(file.paths);
    }
    std::stable_sort(_findings.begin(), _findings.end(),
                     [](const Finding& one, const Finding& other) { return one.id < other.id; });
    return _findings;
}

void CFrameworkCheck::add(FindingId id, const std::optional<std::string>& file, const std::string& text,
                          const std::string& remedy)
{
    _findings.push_back({id, file, text, remedy});
}

void CFrameworkCheck::checkProgram(FindingId id, const std::string& path, const std::string& what)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
    {
        add(id, path, "the " + what + " does not exist", "install the " + what + " there");
    }
    else if (::access(path.c_str(), X_OK) != 0)
    {
        add(id, path, "the " + what + " cannot be executed", "chmod a+x " + shellWord(path));
    }
}

void CFrameworkCheck::readFiles()
{
    for (const LiveFile& file : _liveFiles)
    {
        readLiveFile(file);
        _now.workingCopy.*file.text = readIfThere(file.paths.workingCopy);
        _now.backup.*file.text = readIfThere(file.paths.backup);
    }
    _now.session = readIfThere(_paths.sessionFile());
    _now.lock = readIfThere(_paths.lockFile());
    _owner = sessionOwner(_now.lock.value_or(""), _facts.hostName());
}

void CFrameworkCheck::readLiveFile(const LiveFile& file)
{
    try
    {
        _now.live.*file.text = readIfThere(file.paths.live);
    }
    catch (const Poco::FileException&)
    {
        _areLiveFilesRead = false;
        add(file.unreadable, file.paths.live, "the file cannot be read", "make it a file that the caller may read");
    }
}

void CFrameworkCheck::checkMissing(const LiveFile& file)
{
    const bool isUnreadable =
        std::any_of(_findings.begin(), _findings.end(), [&file](const Finding& f) { return f.id == file.unreadable; });
    if (_now.live.*file.text || isUnreadable)
    {
        return;
    }
    std::string remedy =
        recovery([&file](const FrameworkContents& after) { return (after.live.*file.text).has_value(); });
    const std::optional<std::string>& backup = _now.backup.*file.text;
    if (remedy.empty())
    {
        remedy = backup ? "cp -p " + shellWord(file.paths.backup) + " " + shellWord(file.paths.live)
                        : "put it back from a copy of yours";
    }
    add(file.missing, file.paths.live, "the file does not exist", remedy);
}

void CFrameworkCheck::checkContents()
{
    const std::string documentPath = _paths.configuration().live;
    const std::string listPath = _paths.modelFileList().live;
    std::vector<Finding> found;
    std::optional<std::vector<InstalledModel>> models;
    if (_now.live.list)
    {
        models = readInstalledModels(*_now.live.list);
        found = findInList(listPath, *_now.live.list, *models, _remedies);
    }
    if (_now.live.configuration)
    {
        if (const std::optional<Configuration> configuration = readConfiguration(*_now.live.configuration))
        {
            const std::vector<Finding> more = findInDocument(documentPath, *configuration, models, _remedies);
            found.insert(found.end(), more.begin(), more.end());
        }
        else
        {
            add(FindingId::CONFIGURATION_UNREADABLE, documentPath, "the document cannot be parsed", documentRemedy());
        }
    }
    for (Finding& finding : found)
    {
        // Recovery no longer recognises a file of an interrupted run that has been edited.
        finding.remedy =
            isInterrupted() ? recoverCall() + "; then, if it is still there: " + finding.remedy : finding.remedy;
        _findings.push_back(finding);
    }
}

std::string CFrameworkCheck::documentRemedy()
{
    const ManagedFile file = _paths.configuration();
    const auto isDocument = [this](const std::optional<std::string>& text) { return text && _facts.isDocument(*text); };
    std::string recovering =
        recovery([&](const FrameworkContents& after) { return isDocument(after.live.configuration); });
    if (!recovering.empty())
    {
        return recovering;
    }
    if (!isDocument(_now.backup.configuration))
    {
        return _remedies.edit(file.live, "correct what is not well-formed");
    }
    return _remedies.command(file.live, "cp -p " + shellWord(file.live) + " " + shellWord(file.live + ".broken") +
                                            " && cp " + shellWord(file.backup) + " " + shellWord(file.live));
}

void CFrameworkCheck::checkOwnership(const ManagedFile& file)
{
    struct stat live = {};
    struct stat backup = {};
    if (::stat(file.live.c_str(), &live) != 0 || ::stat(file.backup.c_str(), &backup) != 0)
    {
        return;
    }
    const std::string reference = " --reference=" + shellWord(file.backup) + " " + shellWord(file.live);
    if (ownershipOf(live) != ownershipOf(backup))
    {
        add(FindingId::OWNERSHIP, file.live,
            "owner, group and mode are " + ownershipOf(live) + ", and those of the backup " + ownershipOf(backup),
            "chown" + reference + " && chmod" + reference);
    }
}

} // namespace QMT
