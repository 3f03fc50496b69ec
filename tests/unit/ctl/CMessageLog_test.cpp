#include "ctl/CMessageLog.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

using Lines = std::vector<std::string>;

TEST(MessageLog, TakeReturnsEachMessageOnce)
{
    CMessageLog log;
    log.logger().information("first");
    log.logger().error("second\nline");

    EXPECT_EQ(log.take(), (Lines{"first", "second\nline"}));
    EXPECT_EQ(log.take(), Lines());
}

TEST(MessageLog, TakeOmitsDebugMessages)
{
    CMessageLog log;
    log.logger().debug("hidden");

    EXPECT_EQ(log.take(), Lines());
}

TEST(MessageLog, DestructorRemovesTheLogger)
{
    std::string name;
    {
        const CMessageLog log;
        name = log.logger().name();
    }
    EXPECT_TRUE(Poco::Logger::has(name).isNull());
}

} // namespace

} // namespace QMT::Test
