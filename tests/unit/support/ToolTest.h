#ifndef QMT_TEST_ToolTest_INCLUDED
#define QMT_TEST_ToolTest_INCLUDED

#include "support/CapturedLog.h"
#include "support/FakeHostName.h"
#include "support/Files.h"
#include "support/TemporaryFramework.h"
#include "support/ToolRun.h"

#include <Poco/Message.h>

#include <gtest/gtest.h>

#include <string>

namespace QMT::Test
{

inline const std::string NEW_SESSION = "Starting new session:\nUse -s to list queued actions.";
inline const std::string UPDATED = "Updated session file with new entry.";
inline const std::string COMPLETED = "Operation completed.";
inline const Messages::value_type FAILED = {Poco::Message::PRIO_ERROR, "Operation failed!"};

/// Complete runs of the tool on a temporary framework, on the host "this-host".
class ToolTest : public testing::Test
{
protected:
    void givenSession(const std::string& queue, const std::string& host = "this-host") const
    {
        framework.openSession(queue, host);
    }

    TemporaryFramework framework;
    FakeHostName hostName{"this-host"};
};

} // namespace QMT::Test

#endif // QMT_TEST_ToolTest_INCLUDED
