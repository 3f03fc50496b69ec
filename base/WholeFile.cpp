#include "base/WholeFile.h"

#include <Poco/Exception.h>
#include <Poco/FileStream.h>

#include <sys/stat.h>

#include <fstream>
#include <ios>
#include <new>

namespace QMT
{

namespace
{

/// Far above any file that the tool reads, and what a sparse file without end must not exceed.
const std::streamoff MAX_SIZE = 1 << 30;

bool isPipe(const std::string& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

/// Whether `file` gives bytes at all. A directory opens like a file and may claim any size, so the size alone must not
/// decide how much memory is asked for.
bool isReadable(std::ifstream& file)
{
    file.seekg(0, std::ios::beg);
    file.peek();
    return !file.fail();
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
        return ReadResult::NOT_OPENED;
    }
    file.seekg(0, std::ios::end);
    const std::streamoff size = file.tellg();
    if (size < 0 || size > MAX_SIZE || !isReadable(file))
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

void refusePipe(const std::string& path)
{
    if (isPipe(path))
    {
        throw Poco::OpenFileException(path);
    }
}

void writeWholeFile(const std::string& path, const std::string& content)
{
    refusePipe(path);
    Poco::FileOutputStream file(path, std::ios::out | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    closeWritten(file, path);
}

void closeWritten(Poco::FileOutputStream& file, const std::string& path)
{
    // The stream's close forgets a write that came up short; only the flush before it tells.
    file.flush();
    const bool flushed = file.good();
    file.close();
    if (!flushed || !file.good())
    {
        throw Poco::WriteFileException(path);
    }
}

} // namespace QMT
