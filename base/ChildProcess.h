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
/// What a child said may be read after the child has ended, so the pipe first gets all the room that the system allows.
/// Throws a Poco::Exception when no process can be made. A command that cannot be executed does not throw: the child
/// then ends with status 72.
Poco::ProcessHandle launchIntoPipe(const std::string& command, const std::vector<std::string>& args, Poco::Pipe& pipe);

/// Appends everything left in `pipe` to `output`.
void readPipe(Poco::Pipe& pipe, std::string& output);

} // namespace QMT

#endif // QMT_ChildProcess_INCLUDED
