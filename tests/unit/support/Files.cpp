#include "support/Files.h"

#include <sys/stat.h>
#include <utime.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace QMT::Test
{

std::string readFile(const std::string& path)
{
    if (!std::filesystem::is_regular_file(path))
    {
        throw std::runtime_error("no such file: " + path);
    }
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

void writeFile(const std::string& path, const std::string& content)
{
    std::ofstream file(path, std::ios::out | std::ios::trunc);
    file << content;
    file.close();
    if (!file)
    {
        throw std::runtime_error("cannot write: " + path);
    }
}

std::string directoryOf(const std::string& path)
{
    return std::filesystem::path(path).parent_path().string();
}

void setModificationTime(const std::string& path, long seconds)
{
    const struct utimbuf times = {seconds, seconds};
    if (::utime(path.c_str(), &times) != 0)
    {
        throw std::runtime_error("no time for: " + path);
    }
}

unsigned int modeOf(const std::string& path)
{
    return static_cast<unsigned int>(std::filesystem::status(path).permissions());
}

bool exists(const std::string& path)
{
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

std::ptrdiff_t openFileCount()
{
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
}

void putFullDeviceAt(const std::string& path)
{
    std::filesystem::remove(path);
    std::filesystem::create_symlink("/dev/full", path);
}

void putDirectoryAt(const std::string& path)
{
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
}

void putLoopAt(const std::string& path)
{
    std::filesystem::remove(path);
    std::filesystem::create_symlink(path, path);
}

void putPipeAt(const std::string& path)
{
    std::filesystem::remove(path);
    if (::mkfifo(path.c_str(), S_IRUSR | S_IWUSR) != 0)
    {
        throw std::runtime_error("cannot make a pipe: " + path);
    }
}

void putSocketAt(const std::string& path)
{
    std::filesystem::remove(path);
    if (::mknod(path.c_str(), S_IFSOCK | S_IRUSR | S_IWUSR, 0) != 0)
    {
        throw std::runtime_error("cannot make a socket: " + path);
    }
}

} // namespace QMT::Test
