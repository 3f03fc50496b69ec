#include "support/FakeInstallation.h"

#include "support/FailingCall.h"
#include "support/Files.h"
#include "support/OpenedFiles.h"
#include "support/RealCall.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <filesystem>

namespace
{

const std::string PLACE = "/opt/qor";
const std::string NOWHERE = "/nonexistent/qmt-unit";

std::string currentPath = NOWHERE;

std::string redirected(const char* path)
{
    const std::string asked(path);
    const std::string rest = asked.substr(std::min(asked.size(), PLACE.size()));
    const bool isInside = asked.compare(0, PLACE.size(), PLACE) == 0 && (rest.empty() || rest[0] == '/');
    return isInside ? currentPath + rest : asked;
}

int statBy(const char* symbol, const char* path, void* buffer)
{
    if (QMT::Test::FailingCall::fails("stat", path))
    {
        return -1;
    }
    return QMT::Test::realCall<int(const char*, void*)>(symbol)(redirected(path).c_str(), buffer);
}

int lstatBy(const char* symbol, const char* path, void* buffer)
{
    return QMT::Test::realCall<int(const char*, void*)>(symbol)(redirected(path).c_str(), buffer);
}

} // namespace

// Every system call by which the program and its libraries access a path below /opt/qor.
extern "C"
{
    int redirectedStat(const char* path, void* buffer) __asm__("stat64");
    int redirectedLstat(const char* path, void* buffer) __asm__("lstat64");
    int redirectedTime64Stat(const char* path, void* buffer) __asm__("__stat64_time64");
    int redirectedTime64Lstat(const char* path, void* buffer) __asm__("__lstat64_time64");
    int redirectedOpen(const char* path, int flags, ...) __asm__("open64");
    int redirectedFortifiedOpen(const char* path, int flags) __asm__("__open64_2");
    std::FILE* redirectedFopen(const char* path, const char* mode) __asm__("fopen64");
    std::FILE* redirectedPlainFopen(const char* path, const char* mode) __asm__("fopen");
    int redirectedAccess(const char* path, int mode) __asm__("access");
    int redirectedMkdir(const char* path, unsigned int mode) __asm__("mkdir");
    int redirectedExecvp(const char* path, char* const* arguments) __asm__("execvp");
}

int redirectedStat(const char* path, void* buffer)
{
    return statBy("stat64", path, buffer);
}

int redirectedLstat(const char* path, void* buffer)
{
    return lstatBy("lstat64", path, buffer);
}

// The symbols that 32-bit callers with 64-bit times link to.
int redirectedTime64Stat(const char* path, void* buffer)
{
    return statBy("__stat64_time64", path, buffer);
}

int redirectedTime64Lstat(const char* path, void* buffer)
{
    return lstatBy("__lstat64_time64", path, buffer);
}

int redirectedOpen(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const unsigned int mode = va_arg(arguments, unsigned int);
    va_end(arguments);
    QMT::Test::OpenedFiles::note(path);
    if (QMT::Test::FailingCall::fails("open", path))
    {
        return -1;
    }
    return QMT::Test::realCall<int(const char*, int, ...)>("open64")(redirected(path).c_str(), flags, mode);
}

// The symbol that fortified callers link to, without a mode.
int redirectedFortifiedOpen(const char* path, int flags)
{
    return redirectedOpen(path, flags, 0U);
}

std::FILE* redirectedFopen(const char* path, const char* mode)
{
    if (QMT::Test::FailingCall::fails("fopen", path))
    {
        return nullptr;
    }
    return QMT::Test::realCall<std::FILE*(const char*, const char*)>("fopen64")(redirected(path).c_str(), mode);
}

// The symbol that the standard streams of newer C++ libraries call.
std::FILE* redirectedPlainFopen(const char* path, const char* mode)
{
    return redirectedFopen(path, mode);
}

int redirectedAccess(const char* path, int mode)
{
    return QMT::Test::realCall<int(const char*, int)>("access")(redirected(path).c_str(), mode);
}

int redirectedMkdir(const char* path, unsigned int mode)
{
    return QMT::Test::realCall<int(const char*, unsigned int)>("mkdir")(redirected(path).c_str(), mode);
}

int redirectedExecvp(const char* path, char* const* arguments)
{
    return QMT::Test::realCall<int(const char*, char* const*)>("execvp")(redirected(path).c_str(), arguments);
}

namespace QMT::Test
{

namespace
{

void makeExecutable(const std::string& path, const std::string& script)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    writeFile(path, "#!/bin/sh\n" + script + "\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

} // namespace

FakeInstallation::FakeInstallation()
{
    currentPath = _directory.path();
}

FakeInstallation::~FakeInstallation()
{
    currentPath = NOWHERE;
}

void FakeInstallation::setAgent(const std::string& script) const
{
    makeExecutable(path("qorea/bin/qorea"), script);
}

void FakeInstallation::setValidator(const std::string& script) const
{
    makeExecutable(path("bin/pel_model_validator"), script);
}

void FakeInstallation::setEnvironmentFile(const std::string& content) const
{
    writeFile(path("qor.env"), content);
}

std::string FakeInstallation::path(const std::string& relative) const
{
    return _directory.path(relative);
}

} // namespace QMT::Test
