#ifndef QMT_TEST_CapturedLog_INCLUDED
#define QMT_TEST_CapturedLog_INCLUDED

#include <Poco/AutoPtr.h>
#include <Poco/Channel.h>
#include <Poco/Message.h>

#include <string>
#include <utility>
#include <vector>

namespace Poco
{
class Logger;
}

namespace QMT::Test
{

/// Messages with their priorities: those of the library for a logger, those of syslog for the system log.
using Messages = std::vector<std::pair<int, std::string>>;

/// Messages of the priority information with `texts`.
Messages info(const std::vector<std::string>& texts);

/// The logger "ConsoleLogger" at level information, which records its messages. There is one at a time.
class CapturedLog
{
public:
    CapturedLog();
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;
    CapturedLog(CapturedLog&&) = delete;
    CapturedLog& operator=(CapturedLog&&) = delete;

    /// The logger. Invalid after the logger of that name was destroyed.
    Poco::Logger* logger() const;

    /// The messages so far.
    const Messages& messages() const;

    /// Discards the messages so far.
    void clear();

    /// Captures the logger again after an application object has replaced its channel.
    void reattach();

private:
    class Recorder;

    Poco::AutoPtr<Recorder> _recorder;
    Poco::Logger* _logger;
};

} // namespace QMT::Test

#endif // QMT_TEST_CapturedLog_INCLUDED
