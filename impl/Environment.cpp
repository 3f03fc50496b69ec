#include "impl/CQorModelToolImpl.h"

#include "base/ChildProcess.h"
#include "base/WholeFile.h"

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Logger.h>
#include <Poco/Pipe.h>
#include <Poco/Process.h>

#include <syslog.h>

#include <array>
#include <climits>
#include <cstdlib>
#include <fstream>

namespace QMT
{

CQorModelToolImpl::QorEa::~QorEa() = default;

std::string CQorModelToolImpl::QorEa::serialize(const std::vector<std::string>& args) const
{
    std::string text;
    for (const std::string& arg : args)
    {
        text += arg + " ";
    }
    return text.substr(0, text.empty() ? 0 : text.size() - 1);
}

void CQorModelToolImpl::QorEa::getEnvDir(std::string& dir) const
{
    const std::vector<std::string> args = {"pso", "config"};
    Poco::Pipe pipe;
    const int status = launchIntoPipe(CFrameworkPaths::AGENT, args, pipe).wait();
    readPipe(pipe, dir);
    if (status != 0)
    {
        throw Poco::Exception("Failed to invoke: qorea %s, retval %d", serialize(args), status);
    }
    const std::string::size_type last = dir.find_last_not_of(" \t\n");
    if (last != std::string::npos)
    {
        dir.erase(last + 1);
    }
}

bool CQorModelToolImpl::getEnvDir(std::string& dir)
{
    try
    {
        _agent.getEnvDir(dir);
        return useExistingDirectory(dir, dir);
    }
    catch (const Poco::Exception& exc)
    {
        _logger->information(exc.what());
    }
    const char* const fromEnvironment = std::getenv("QORPATH");
    if (fromEnvironment != nullptr)
    {
        dir = fromEnvironment;
        return true;
    }
    return findInstalledDirectory(dir);
}

bool CQorModelToolImpl::findInstalledDirectory(std::string& dir)
{
    const std::string path = CFrameworkPaths::environmentFile();
    if (!Poco::File(path).exists())
    {
        return useExistingDirectory(CFrameworkPaths::DEFAULT_QOR_PATH, dir);
    }
    std::array<char, 256> line = {};
    std::ifstream file;
    if (!openForReading(path, file) || file.getline(line.data(), line.size()).bad())
    {
        return false;
    }
    const std::string named(line.data());
    return named.empty() || useExistingDirectory(named, dir);
}

bool CQorModelToolImpl::useExistingDirectory(const std::string& found, std::string& dir)
{
    if (!Poco::File(found).exists())
    {
        // If stat failed, the directory may exist, with a session in it.
        suspectSession(found);
        return false;
    }
    _logger->information("Using QOR path: " + found);
    dir = found;
    return true;
}

bool CQorModelToolImpl::validateEnvironment()
{
    const std::string path = paths().modelDirectory();
    std::string reason = path;
    try
    {
        // The library tries parent after parent. Those after the first one whose own path is too long are left out:
        // there may be thousands, and none of them can be created.
        Poco::File(path.substr(0, path.find('/', PATH_MAX))).createDirectories();
        // The library reports success for a plain file of that name.
        if (Poco::File(path).isDirectory())
        {
            return true;
        }
    }
    catch (const Poco::Exception& exc)
    {
        reason = exc.message();
    }
    _logger->warning("Unable to create directory structure: " + reason);
    ::syslog(LOG_WARNING, "unable to create directory structure %s", reason.c_str());
    return false;
}

} // namespace QMT
