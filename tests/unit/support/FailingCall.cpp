#include "support/FailingCall.h"

#include "support/RealCall.h"

#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace
{

QMT::Test::FailingCall* currentCall = nullptr;

int fcntlBy(const char* symbol, int file, int command, void* argument)
{
    return QMT::Test::FailingCall::fails("fcntl", file)
               ? -1
               : QMT::Test::realCall<int(int, int, ...)>(symbol)(file, command, argument);
}

} // namespace

extern "C"
{
    int failingFork() __asm__("fork");
    int failingClose(int file) __asm__("close");
    int failingFcntl(int file, int command, void* argument) __asm__("fcntl64");
    int failingTime64Fcntl(int file, int command, void* argument) __asm__("__fcntl_time64");
    int failingFsync(int file) __asm__("fsync");
    int failingFchown(int file, unsigned int owner, unsigned int group) __asm__("fchown");
    int failingFchmod(int file, unsigned int mode) __asm__("fchmod");
    int failingFsetxattr(int file, const char* name, const void* value, std::size_t size,
                         int flags) __asm__("fsetxattr");
    int failingRename(const char* from, const char* to) __asm__("rename");
    int failingUnlink(const char* path) __asm__("unlink");
    ssize_t failingRead(int file, void* buffer, std::size_t size) __asm__("read");
    ssize_t failingWrite(int file, const void* buffer, std::size_t size) __asm__("write");
}

int failingFork()
{
    return QMT::Test::FailingCall::fails("fork", std::string()) ? -1 : QMT::Test::realCall<int()>("fork")();
}

/// Like the system's close, closes the file even when it reports a failure.
int failingClose(int file)
{
    static auto* const realClose = QMT::Test::realCall<int(int)>("close");
    if (!QMT::Test::FailingCall::fails("close", file))
    {
        return realClose(file);
    }
    const int error = errno;
    static_cast<void>(realClose(file));
    errno = error;
    return -1;
}

int failingFcntl(int file, int command, void* argument)
{
    return fcntlBy("fcntl64", file, command, argument);
}

// The symbol that 32-bit callers with 64-bit times link to.
int failingTime64Fcntl(int file, int command, void* argument)
{
    return fcntlBy("__fcntl_time64", file, command, argument);
}

int failingFsync(int file)
{
    return QMT::Test::FailingCall::fails("fsync", file) ? -1 : QMT::Test::realCall<int(int)>("fsync")(file);
}

int failingFchown(int file, unsigned int owner, unsigned int group)
{
    static auto* const realFchown = QMT::Test::realCall<int(int, unsigned int, unsigned int)>("fchown");
    return QMT::Test::FailingCall::fails("fchown", file) ? -1 : realFchown(file, owner, group);
}

int failingFchmod(int file, unsigned int mode)
{
    static auto* const realFchmod = QMT::Test::realCall<int(int, unsigned int)>("fchmod");
    return QMT::Test::FailingCall::fails("fchmod", file) ? -1 : realFchmod(file, mode);
}

int failingFsetxattr(int file, const char* name, const void* value, std::size_t size, int flags)
{
    using Function = int(int, const char*, const void*, std::size_t, int);
    static auto* const realFsetxattr = QMT::Test::realCall<Function>("fsetxattr");
    return QMT::Test::FailingCall::fails("fsetxattr", file) ? -1 : realFsetxattr(file, name, value, size, flags);
}

int failingRename(const char* from, const char* to)
{
    static auto* const realRename = QMT::Test::realCall<int(const char*, const char*)>("rename");
    return QMT::Test::FailingCall::fails("rename", std::string(to)) ? -1 : realRename(from, to);
}

int failingUnlink(const char* path)
{
    static auto* const realUnlink = QMT::Test::realCall<int(const char*)>("unlink");
    return QMT::Test::FailingCall::fails("unlink", std::string(path)) ? -1 : realUnlink(path);
}

ssize_t failingRead(int file, void* buffer, std::size_t size)
{
    static auto* const realRead = QMT::Test::realCall<ssize_t(int, void*, std::size_t)>("read");
    return QMT::Test::FailingCall::fails("read", file) ? -1 : realRead(file, buffer, size);
}

ssize_t failingWrite(int file, const void* buffer, std::size_t size)
{
    static auto* const realWrite = QMT::Test::realCall<ssize_t(int, const void*, std::size_t)>("write");
    if (!QMT::Test::FailingCall::fails("write", file))
    {
        return realWrite(file, buffer, size);
    }
    return errno == 0 ? realWrite(file, buffer, size / 2) : -1;
}

namespace QMT::Test
{

FailingCall::FailingCall(const std::string& call, const std::string& path, int error, int spared, int limit)
    : _call(call), _path(path), _error(error), _spared(spared), _limit(limit)
{
    currentCall = this;
}

FailingCall::~FailingCall()
{
    currentCall = nullptr;
}

int FailingCall::failures() const
{
    return _failures;
}

bool FailingCall::fails(const std::string& call, int file)
{
    if (currentCall == nullptr || currentCall->_call != call)
    {
        return false;
    }
    std::error_code unknown;
    return fails(call, std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file), unknown).string());
}

bool FailingCall::fails(const std::string& call, const std::string& path)
{
    if (currentCall == nullptr || currentCall->_call != call || currentCall->_path != path)
    {
        return false;
    }
    if (currentCall->_spared > 0)
    {
        --currentCall->_spared;
        return false;
    }
    if (currentCall->_failures >= currentCall->_limit)
    {
        return false;
    }
    ++currentCall->_failures;
    if (currentCall->_error == THROWS)
    {
        throw std::runtime_error(call);
    }
    errno = currentCall->_error;
    return true;
}

} // namespace QMT::Test
