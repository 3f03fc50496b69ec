#include "base/ChildProcess.h"

#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <Poco/StreamCopier.h>

#include <fcntl.h>

#include <fstream>

namespace QMT
{

namespace
{

void growPipe(const Poco::Pipe& pipe)
{
    int limit = 0;
    std::ifstream("/proc/sys/fs/pipe-max-size") >> limit;
    // When the size is unknown or refused, the pipe keeps its default; 0 would shrink it.
    if (limit > 0)
    {
        static_cast<void>(::fcntl(pipe.readHandle(), F_SETPIPE_SZ, limit));
    }
}

} // namespace

Poco::ProcessHandle launchIntoPipe(const std::string& command, const std::vector<std::string>& args, Poco::Pipe& pipe)
{
    growPipe(pipe);
    return Poco::Process::launch(command, args, nullptr, &pipe, &pipe);
}

void readPipe(Poco::Pipe& pipe, std::string& output)
{
    const std::size_t BUFFER_SIZE = 8192;

    Poco::PipeInputStream stream(pipe);
    Poco::StreamCopier::copyToString(stream, output, BUFFER_SIZE);
}

} // namespace QMT
