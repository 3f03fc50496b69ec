#include "base/FileTransfer.h"

#include "base/WholeFile.h"

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Path.h>

#include <sys/stat.h>

namespace QMT
{

namespace
{

bool areSame(const std::string& one, const std::string& other)
{
    struct stat first = {};
    struct stat second = {};
    return ::stat(one.c_str(), &first) == 0 && ::stat(other.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

/// A link in place of a working copy or backup may lead back to the live file, or to its directory, into which the
/// library copies under the old name.
void rejectUnsafeCopy(const std::string& from, const std::string& to)
{
    if (isPipe(from) || isPipe(to))
    {
        throw Poco::OpenFileException(isPipe(from) ? from : to);
    }
    const std::string inDirectory = Poco::Path(to, Poco::Path(from).getFileName()).toString();
    if (areSame(from, to) || areSame(from, inDirectory))
    {
        throw Poco::FileException("The file would replace itself", to);
    }
}

} // namespace

void copyFile(const std::string& from, const std::string& to)
{
    rejectUnsafeCopy(from, to);
    Poco::File(from).copyTo(to);
}

void moveFile(const std::string& from, const std::string& to)
{
    rejectUnsafeCopy(from, to);
    Poco::File(from).moveTo(to);
}

} // namespace QMT
