#include "base/WholeFile.h"

#include "base/Existence.h"

#include <Poco/Exception.h>
#include <Poco/FileStream.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <ios>
#include <new>

namespace QMT
{

namespace
{

/// Far above the size of any configuration or model file. It keeps a huge sparse file out of memory.
const std::streamoff MAX_SIZE = 1 << 30;

/// Whether `file` can be read at all. A directory opens like a file and may claim any size, so the size alone must not
/// decide how much memory is asked for.
bool isReadable(std::ifstream& file)
{
    file.seekg(0, std::ios::beg);
    file.peek();
    return !file.fail();
}

ReadResult readAll(std::ifstream& file, std::string& content)
{
    file.seekg(0, std::ios::end);
    const std::streamoff size = file.tellg();
    // On a 32-bit system a string holds a byte less.
    const std::streamoff limit = std::min<std::streamoff>(MAX_SIZE, static_cast<std::streamoff>(content.max_size()));
    if (size < 0 || size > limit || !isReadable(file))
    {
        return ReadResult::FAILED;
    }
    try
    {
        content.resize(static_cast<std::string::size_type>(size));
    }
    catch (const std::bad_alloc&)
    {
        return ReadResult::FAILED;
    }
    file.read(content.data(), static_cast<std::streamsize>(size));
    return file.gcount() == size ? ReadResult::READ : ReadResult::FAILED;
}

} // namespace

ReadResult readWholeFile(const std::string& path, std::string& content)
{
    if (isPipe(path))
    {
        return ReadResult::FAILED;
    }
    std::ifstream file(path, std::ios::in);
    if (!file.is_open())
    {
        return existenceOf(path) == Existence::ABSENT ? ReadResult::MISSING : ReadResult::NOT_OPENED;
    }
    return readAll(file, content);
}

bool openForReading(const std::string& path, std::ifstream& file)
{
    if (!isPipe(path))
    {
        file.open(path, std::ios::in);
    }
    return file.is_open();
}

bool writeWholeFile(const std::string& path, const std::string& content)
{
    if (isPipe(path) || isLinkOfAnother(path))
    {
        return false;
    }
    try
    {
        Poco::FileOutputStream file(path, std::ios::out | std::ios::trunc);
        file.write(content.data(), static_cast<std::streamsize>(content.size()));
        // The stream's close does not report a short write; only the flush before it does.
        file.flush();
        const bool flushed = file.good();
        file.close();
        return flushed && file.good();
    }
    catch (const Poco::Exception&)
    {
        return false;
    }
}

bool isLinkOfAnother(const std::string& path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode) && status.st_uid != ::geteuid();
}

bool isPipe(const std::string& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

} // namespace QMT
