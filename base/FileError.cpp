#include "base/FileError.h"

#include <Poco/Error.h>
#include <Poco/Exception.h>

#include <cerrno>

namespace QMT
{

void throwFileError(const std::string& path)
{
    throw Poco::FileException(Poco::Error::getMessage(errno), path, errno);
}

} // namespace QMT
