#include "support/FailingCall.h"

#include "support/RealCall.h"

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace
{

QMT::Test::FailingCall* current = nullptr;

} // namespace

extern "C" int failingFsync(int file) __asm__("fsync");

int failingFsync(int file)
{
    std::error_code unknown;
    const std::string path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file), unknown).string();
    return QMT::Test::FailingCall::fails("fsync", path) ? -1 : QMT::Test::realCall<int(int)>("fsync")(file);
}

namespace QMT::Test
{

FailingCall::FailingCall(const std::string& call, const std::string& path, int error, int spared)
    : _call(call), _path(path), _error(error), _spared(spared)
{
    current = this;
}

FailingCall::~FailingCall()
{
    current = nullptr;
}

int FailingCall::failures() const
{
    return _failures;
}

bool FailingCall::fails(const std::string& call, const std::string& path)
{
    if (current == nullptr || current->_call != call || current->_path != path)
    {
        return false;
    }
    if (current->_spared > 0)
    {
        --current->_spared;
        return false;
    }
    ++current->_failures;
    if (current->_error == THROWS)
    {
        throw std::runtime_error(call);
    }
    errno = current->_error;
    return true;
}

} // namespace QMT::Test
