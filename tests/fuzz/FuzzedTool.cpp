#include "FuzzedTool.h"

#include "base/WholeFile.h"

#include <Poco/AutoPtr.h>
#include <Poco/File.h>
#include <Poco/Logger.h>
#include <Poco/NullChannel.h>
#include <Poco/TemporaryFile.h>

#include <algorithm>
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
        fail("the machine's own framework must not be seen here: use scripts/fuzz");
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
        fail(path + " cannot be written");
    }
}

std::string FuzzedTool::read(const std::string& path)
{
    std::string content;
    if (readWholeFile(path, content) != ReadResult::READ)
    {
        fail(path + " cannot be read");
    }
    return content;
}

std::string FuzzedTool::readIfThere(const std::string& path)
{
    return Poco::File(path).exists() ? read(path) : std::string();
}

void FuzzedTool::fail(const std::string& reason)
{
    std::cerr << "FOUND: " << reason << std::endl;
    std::abort();
}

std::vector<std::optional<std::string>> partsOf(const std::string& input, std::size_t count)
{
    std::vector<std::optional<std::string>> parts(count);
    std::string::size_type begin = 0;
    for (std::optional<std::string>& part : parts)
    {
        if (begin >= input.size())
        {
            break;
        }
        const std::string::size_type end = std::min(input.find_first_of("\1\2", begin + 1), input.size());
        if (input[begin] != '\2')
        {
            part = input.substr(begin + 1, end - begin - 1);
        }
        begin = end;
    }
    return parts;
}

} // namespace QMT::Fuzz
