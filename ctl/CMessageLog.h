#ifndef QMT_CMessageLog_INCLUDED
#define QMT_CMessageLog_INCLUDED

#include <Poco/AutoPtr.h>
#include <Poco/Logger.h>

#include <string>
#include <vector>

namespace QMT
{

/// A logger that records the messages of the tool's operations for the answer. There is one object at a time.
class CMessageLog
{
public:
    CMessageLog();
    ~CMessageLog();
    CMessageLog(const CMessageLog&) = delete;
    CMessageLog& operator=(const CMessageLog&) = delete;
    CMessageLog(CMessageLog&&) = delete;
    CMessageLog& operator=(CMessageLog&&) = delete;

    /// The logger to pass to the operations. Valid as long as the object.
    Poco::Logger& logger() const;

    /// The messages since the last call.
    std::vector<std::string> take();

private:
    class CChannel;

    Poco::AutoPtr<CChannel> _channel;
};

} // namespace QMT

#endif // QMT_CMessageLog_INCLUDED
