#ifndef QMT_TEST_CapturedSystemLog_INCLUDED
#define QMT_TEST_CapturedSystemLog_INCLUDED

#include "support/CapturedLog.h"

namespace QMT::Test
{

/// Records the lines of the system log while the object lives. The test program replaces syslog, so that no line
/// reaches the real log, with or without such an object. There is one at a time.
class CapturedSystemLog
{
public:
    CapturedSystemLog();
    ~CapturedSystemLog();
    CapturedSystemLog(const CapturedSystemLog&) = delete;
    CapturedSystemLog& operator=(const CapturedSystemLog&) = delete;
    CapturedSystemLog(CapturedSystemLog&&) = delete;
    CapturedSystemLog& operator=(CapturedSystemLog&&) = delete;

    const Messages& messages() const;
    void clear();

private:
    Messages _messages;
};

} // namespace QMT::Test

#endif // QMT_TEST_CapturedSystemLog_INCLUDED
