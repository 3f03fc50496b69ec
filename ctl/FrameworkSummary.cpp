#include "ctl/FrameworkSummary.h"

#include "base/Existence.h"
#include "ctl/FrameworkContents.h"
#include "impl/CFrameworkPaths.h"
#include "impl/CQorModelToolImpl.h"
#include "impl/QueueText.h"

#include <Poco/DateTimeFormat.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/Exception.h>
#include <Poco/File.h>

#include <unordered_map>

namespace QMT
{

namespace
{

using Failures = std::vector<std::string>;
using Names = std::vector<std::string>;

/// When the file at `path` was last modified; nothing when there is none.
std::optional<std::string> modifiedAt(const std::string& path)
{
    try
    {
        return Poco::DateTimeFormatter::format(Poco::File(path).getLastModified(),
                                               Poco::DateTimeFormat::ISO8601_FORMAT);
    }
    catch (const Poco::FileException&)
    {
        return std::nullopt;
    }
}

/// The content of the file at `path`; nothing when it is missing or, with an entry in the failures, cannot be read.
std::optional<std::string> read(const std::string& path, Failures& failures)
{
    try
    {
        return readIfThere(path);
    }
    catch (const Poco::FileException& exc)
    {
        failures.push_back(exc.message());
        return std::nullopt;
    }
}

std::optional<std::string> readLive(const std::string& path, Failures& failures)
{
    if (existenceOf(path) == Existence::ABSENT)
    {
        failures.push_back("the file is missing: " + path);
        return std::nullopt;
    }
    return read(path, failures);
}

std::optional<Configuration> readLiveConfiguration(const std::string& path, Failures& failures)
{
    const std::optional<std::string> text = readLive(path, failures);
    if (!text)
    {
        return std::nullopt;
    }
    std::optional<Configuration> configuration = readConfiguration(*text);
    if (!configuration)
    {
        failures.push_back("the document cannot be parsed: " + path);
    }
    return configuration;
}

/// The names of the handlers of each root class, in document order.
std::unordered_map<std::string, Names> namesByRootClass(const std::vector<Handler>& handlers)
{
    std::unordered_map<std::string, Names> names;
    for (const Handler& handler : handlers)
    {
        for (const std::string& rootClass : handler.rootClasses)
        {
            Names& serving = names[rootClass];
            // A handler may have a root class twice.
            if (serving.empty() || serving.back() != handler.name)
            {
                serving.push_back(handler.name);
            }
        }
    }
    return names;
}

std::vector<ServedModel> readServedModels(const std::string& list, const std::vector<Handler>& handlers)
{
    const std::unordered_map<std::string, Names> names = namesByRootClass(handlers);
    std::vector<ServedModel> served;
    for (InstalledModel& model : readInstalledModels(list))
    {
        const auto found = model.state == ModelState::READ ? names.find(model.rootClass) : names.end();
        served.push_back({std::move(model), found == names.end() ? Names() : found->second});
    }
    return served;
}

std::optional<SessionSummary> readSession(const CFrameworkPaths& paths, Failures& failures)
{
    const std::optional<std::string> since = modifiedAt(paths.lockFile());
    if (!since)
    {
        return std::nullopt;
    }
    SessionSummary session;
    session.since = *since;
    if (const std::optional<std::string> lock = read(paths.lockFile(), failures))
    {
        session.owner = sessionOwner(*lock, CQorModelToolImpl::getHostName());
    }
    session.actions = readQueueText(read(paths.sessionFile(), failures).value_or("")).entries;
    return session;
}

} // namespace

FrameworkSummary readSummary(const std::string& qorPath)
{
    const CFrameworkPaths paths(qorPath);
    FrameworkSummary summary;
    summary.configuration = readLiveConfiguration(paths.configuration().live, summary.failures);
    if (const std::optional<std::string> list = readLive(paths.modelFileList().live, summary.failures))
    {
        const bool isParsed = summary.configuration.has_value();
        summary.models = readServedModels(*list, isParsed ? summary.configuration->handlers : std::vector<Handler>());
    }
    summary.session = readSession(paths, summary.failures);
    summary.backupSince = modifiedAt(paths.modelFileList().backup);
    return summary;
}

} // namespace QMT
