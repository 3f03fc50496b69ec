#include "base/FileAttributes.h"

#include <linux/limits.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <sstream>

namespace QMT
{

namespace
{

using Attributes = std::map<std::string, std::string>;

/// The result of `call`, a system call that fills a buffer and returns the size used. The buffer holds any list of
/// names and any value.
template<typename Call>
std::string filled(Call call)
{
    std::string buffer(std::max(XATTR_LIST_MAX, XATTR_SIZE_MAX), '\0');
    const ssize_t size = call(buffer.data(), buffer.size());
    buffer.resize(size < 0 ? 0 : static_cast<std::string::size_type>(size));
    return buffer;
}

/// The extended attributes that `list` names, separated by NUL.
template<typename List, typename Get>
Attributes attributes(List list, Get get)
{
    Attributes found;
    std::istringstream names(filled(list));
    for (std::string name; std::getline(names, name, '\0');)
    {
        found[name] = filled([&](char* value, std::size_t size) { return get(name.c_str(), value, size); });
    }
    return found;
}

Attributes attributesOf(const std::string& path)
{
    const char* const file = path.c_str();
    return attributes([file](char* value, std::size_t size) { return ::listxattr(file, value, size); },
                      [file](const char* name, char* value, std::size_t size)
                      { return ::getxattr(file, name, value, size); });
}

Attributes attributesOf(int file)
{
    return attributes([file](char* value, std::size_t size) { return ::flistxattr(file, value, size); },
                      [file](const char* name, char* value, std::size_t size)
                      { return ::fgetxattr(file, name, value, size); });
}

/// Sets owner and group, each if the caller may.
void copyOwnership(const struct stat& wanted, int to, std::vector<std::string>& lost, const std::string& name)
{
    const auto UNCHANGED_OWNER = static_cast<uid_t>(-1);

    struct stat present = {};
    if (::fstat(to, &present) != 0 || (present.st_uid == wanted.st_uid && present.st_gid == wanted.st_gid))
    {
        return;
    }
    if (::fchown(to, wanted.st_uid, wanted.st_gid) == 0)
    {
        return;
    }
    if (present.st_uid != wanted.st_uid)
    {
        lost.push_back("the owner of " + name + " could not be kept");
    }
    if (present.st_gid != wanted.st_gid && ::fchown(to, UNCHANGED_OWNER, wanted.st_gid) != 0)
    {
        lost.push_back("the group of " + name + " could not be kept");
    }
}

} // namespace

std::vector<std::string> copyAttributes(const std::string& from, int to, const std::string& name)
{
    const mode_t PERMISSIONS = 07777;

    std::vector<std::string> lost;
    struct stat wanted = {};
    if (::stat(from.c_str(), &wanted) != 0)
    {
        return lost;
    }
    copyOwnership(wanted, to, lost, name);
    const Attributes source = attributesOf(from);
    const Attributes inherited = attributesOf(to);
    // An inherited access control list would change the meaning of the mode, so it is removed first; that of the source
    // changes the mode itself, so it is set last.
    for (const auto& [attribute, value] : inherited)
    {
        if (source.count(attribute) == 0)
        {
            static_cast<void>(::fremovexattr(to, attribute.c_str()));
        }
    }
    if (::fchmod(to, wanted.st_mode & PERMISSIONS) != 0)
    {
        lost.push_back("the mode of " + name + " could not be kept");
    }
    for (const auto& [attribute, value] : source)
    {
        const auto same = inherited.find(attribute);
        if ((same == inherited.end() || same->second != value) &&
            ::fsetxattr(to, attribute.c_str(), value.data(), value.size(), 0) != 0)
        {
            lost.push_back("the attribute " + attribute + " of " + name + " could not be kept");
        }
    }
    return lost;
}

} // namespace QMT
