#ifndef QMT_SilentLogger_INCLUDED
#define QMT_SilentLogger_INCLUDED

namespace Poco
{
class Logger;
}

namespace QMT
{

/// A logger that discards the messages of the tool's operations. It exists until the process ends.
Poco::Logger& silentLogger();

} // namespace QMT

#endif // QMT_SilentLogger_INCLUDED
