#include "support/TemporaryDirectory.h"

#include "support/Files.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace QMT::Test
{

TemporaryDirectory::TemporaryDirectory() : _path((std::filesystem::temp_directory_path() / "qmt-unit-XXXXXX").string())
{
    if (::mkdtemp(_path.data()) == nullptr)
    {
        throw std::runtime_error("cannot make a directory: " + _path);
    }
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
}

const std::string& TemporaryDirectory::path() const
{
    return _path;
}

std::string TemporaryDirectory::path(const std::string& relative) const
{
    return _path + "/" + relative;
}

std::string TemporaryDirectory::write(const std::string& relative, const std::string& content) const
{
    writeFile(path(relative), content);
    return path(relative);
}

} // namespace QMT::Test
