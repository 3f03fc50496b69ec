#include "FuzzedTool.h"

#include "base/WholeFile.h"

#include <Poco/AutoPtr.h>
#include <Poco/File.h>
#include <Poco/Logger.h>
#include <Poco/NullChannel.h>
#include <Poco/TemporaryFile.h>

#include <cstdlib>
#include <iostream>

namespace QMT::Fuzz
{

namespace
{

std::string makeFramework()
{
    Poco::TemporaryFile directory("/dev/shm");
    const std::string path = directory.path() + "/";
    Poco::File(path + "etc/model").createDirectories();
    // Without an agent, the environment tells where the framework is.
    ::setenv("QORPATH", path.c_str(), 1);
    Poco::TemporaryFile::registerForDeletion(directory.path());
    directory.keep();
    return path;
}

Poco::Logger* silentLogger()
{
    static Poco::AutoPtr<Poco::NullChannel> channel(new Poco::NullChannel);
    static Poco::Logger& logger = Poco::Logger::create("ConsoleLogger", channel);
    return &logger;
}

} // namespace

FuzzedTool::FuzzedTool(const std::string& directory)
    : paths(directory), impl(silentLogger()), tool(&impl, silentLogger())
{
    if (impl.qorPath() != directory)
    {
        find("the machine's own framework must not be seen here: use scripts/fuzz");
    }
}

FuzzedTool& FuzzedTool::instance()
{
    static FuzzedTool tool(makeFramework());
    return tool;
}

void FuzzedTool::write(const std::string& path, const std::string& content)
{
    if (!writeWholeFile(path, content))
    {
        find(path + " cannot be written");
    }
}

std::string FuzzedTool::read(const std::string& path)
{
    std::string content;
    if (readWholeFile(path, content) != ReadResult::READ)
    {
        find(path + " cannot be read");
    }
    return content;
}

void FuzzedTool::find(const std::string& broken)
{
    std::cerr << "FOUND: " << broken << std::endl;
    std::abort();
}

} // namespace QMT::Fuzz
