#include "impl/CQorModelToolImpl.h"

#include "base/ChildProcess.h"
#include "impl/JoinedText.h"
#include "base/WholeFile.h"

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/FileStream.h>
#include <Poco/Logger.h>
#include <Poco/Pipe.h>
#include <Poco/Process.h>

#include <syslog.h>

#include <array>
#include <climits>
#include <cstdlib>

namespace QMT
{

CQorModelToolImpl::QorEa::~QorEa() = default;

std::string CQorModelToolImpl::QorEa::serialize(const std::vector<std::string>& args) const
{
    return joinedText(args, " ");
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
    try
    {
        return findInstalledDirectory(dir);
    }
    catch (const Poco::Exception&)
    {
        return false;
    }
}

bool CQorModelToolImpl::findInstalledDirectory(std::string& dir)
{
    const std::string path = CFrameworkPaths::environmentFile();
    if (!Poco::File(path).exists())
    {
        return useExistingDirectory(CFrameworkPaths::DEFAULT_QOR_PATH, dir);
    }
    refusePipe(path);
    std::array<char, 256> line = {};
    Poco::FileInputStream file(path);
    file.getline(line.data(), line.size());
    if (file.bad())
    {
        throw Poco::ReadFileException(path);
    }
    const std::string named(line.data());
    return named.empty() || useExistingDirectory(named, dir);
}

bool CQorModelToolImpl::useExistingDirectory(const std::string& found, std::string& dir)
{
    if (!Poco::File(found).exists())
    {
        return false;
    }
    _logger->information("Using QOR path: " + found);
    dir = found;
    return true;
}

bool CQorModelToolImpl::validateEnvironment()
{
    const std::string path = paths().modelDirectory();
    try
    {
        if (path.size() >= PATH_MAX)
        {
            // The creation would try each of its thousands of parents first.
            throw Poco::CreateFileException("The path is too long");
        }
        Poco::File directory(path);
        directory.createDirectories();
        // The creation is content with a plain file of that name.
        if (!directory.isDirectory())
        {
            throw Poco::CreateFileException(path);
        }
        return true;
    }
    catch (const Poco::Exception& exc)
    {
        _logger->warning("Unable to create directory structure: " + exc.message());
        ::syslog(LOG_WARNING, "unable to create directory structure %s", exc.message().c_str());
        return false;
    }
}

} // namespace QMT
