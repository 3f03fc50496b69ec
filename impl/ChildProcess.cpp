#include "impl/ChildProcess.h"

#include <Poco/Pipe.h>
#include <Poco/Process.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>

namespace QMT
{

namespace
{

void widen(const Poco::Pipe& pipe)
{
    int limit = 0;
    std::ifstream("/proc/sys/fs/pipe-max-size") >> limit;
    // Refused or unknown, the pipe keeps the room it has.
    static_cast<void>(::fcntl(pipe.readHandle(), F_SETPIPE_SZ, limit));
}

} // namespace

Poco::ProcessHandle launchIntoPipe(const std::string& command, const std::vector<std::string>& args, Poco::Pipe& pipe)
{
    widen(pipe);
    return Poco::Process::launch(command, args, nullptr, &pipe, &pipe);
}

void readPipe(Poco::Pipe& pipe, std::string& output)
{
    std::array<char, 8192> buffer = {};

    // A process that the child has left behind may hold the pipe open for ever; what it says does not count.
    static_cast<void>(::fcntl(pipe.readHandle(), F_SETFL, O_NONBLOCK));
    ssize_t size = 0;
    do
    {
        size = ::read(pipe.readHandle(), buffer.data(), buffer.size());
        output.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    } while (size > 0 || (size < 0 && errno == EINTR));
}

} // namespace QMT
