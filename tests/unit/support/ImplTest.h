#ifndef QMT_TEST_ImplTest_INCLUDED
#define QMT_TEST_ImplTest_INCLUDED

#include "impl/CQorModelToolImpl.h"
#include "support/CapturedLog.h"
#include "support/CapturedSystemLog.h"
#include "support/FakeHostName.h"
#include "support/TemporaryFramework.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

/// Nothing was logged.
inline const Messages SILENCE;

/// An implementation object on a temporary framework, on the host "this-host".
class ImplTest : public testing::Test
{
protected:
    ImplTest() : impl(log.logger())
    {
        impl.qorPath() = framework.path();
    }

    TemporaryFramework framework;
    FakeHostName hostName{"this-host"};
    CapturedLog log;
    CapturedSystemLog systemLog;
    CQorModelToolImpl impl;
};

} // namespace QMT::Test

#endif // QMT_TEST_ImplTest_INCLUDED
