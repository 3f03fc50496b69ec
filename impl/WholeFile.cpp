#include "impl/WholeFile.h"

#include <Poco/Exception.h>
#include <Poco/FileStream.h>

#include <fstream>
#include <ios>

namespace QMT
{

namespace
{

/// Whether `file` gives bytes at all. A directory opens like a file and may claim any size, so the size alone must not
/// decide how much memory is asked for.
bool isReadable(std::ifstream& file)
{
    file.seekg(0, std::ios::beg);
    file.peek();
    if (file.bad() || (file.fail() && !file.eof()))
    {
        return false;
    }
    file.clear();
    return true;
}

} // namespace

ReadResult readWholeFile(const std::string& path, std::string& content)
{
    std::ifstream file(path, std::ios::in);
    if (!file.is_open())
    {
        return ReadResult::NOT_OPENED;
    }
    file.seekg(0, std::ios::end);
    const std::streamoff size = file.tellg();
    if (size < 0 || !isReadable(file) || static_cast<std::uintmax_t>(size) > content.max_size())
    {
        return ReadResult::FAILED;
    }
    content.resize(static_cast<std::string::size_type>(size));
    file.read(content.data(), static_cast<std::streamsize>(size));
    return file.gcount() == size ? ReadResult::READ : ReadResult::FAILED;
}

void writeWholeFile(const std::string& path, const std::string& content)
{
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
