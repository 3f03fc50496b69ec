#ifndef QMT_ChildProcess_INCLUDED
#define QMT_ChildProcess_INCLUDED

#include <string>
#include <vector>

namespace Poco
{
class Pipe;
class ProcessHandle;
} // namespace Poco

namespace QMT
{

/// Starts `command` with `args`; its standard output and standard error both go into `pipe`.
///
/// The output may be read only after the child has ended, so the pipe is first grown to the system's limit.
/// Throws a Poco::Exception when no process can be created. A command that cannot be executed does not throw: the child
/// then ends with status 72.
Poco::ProcessHandle launchIntoPipe(const std::string& command, const std::vector<std::string>& args, Poco::Pipe& pipe);

/// Appends everything left in `pipe` to `output`.
void readPipe(Poco::Pipe& pipe, std::string& output);

} // namespace QMT

#endif // QMT_ChildProcess_INCLUDED
