#ifndef QMT_TEST_CapturedSystemLog_INCLUDED
#define QMT_TEST_CapturedSystemLog_INCLUDED

#include "support/CapturedLog.h"

namespace QMT::Test
{

/// The system log, whose lines are kept as long as the object lives. The test program's syslog reaches no real log,
/// with such an object or without. There is one at a time.
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
