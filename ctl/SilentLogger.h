#ifndef QMT_SilentLogger_INCLUDED
#define QMT_SilentLogger_INCLUDED

namespace Poco
{
class Logger;
}

namespace QMT
{

/// A logger for the tool's operations where their messages are not to be heard. It lives until the process ends.
Poco::Logger& silentLogger();

} // namespace QMT

#endif // QMT_SilentLogger_INCLUDED
