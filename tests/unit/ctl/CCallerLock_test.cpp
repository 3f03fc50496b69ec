#include "ctl/CCallerLock.h"

#include "support/Files.h"
#include "support/LockHolder.h"
#include "support/TemporaryFramework.h"
#include "support/ThrownBy.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace QMT::Test
{

namespace
{

class CallerLock : public testing::Test
{
protected:
    TemporaryFramework framework;
    const std::string path = framework.callerLock();
};

TEST_F(CallerLock, ConstructorCreatesTheFileWithTheListsMode)
{
    ::chmod(framework.list().c_str(), 0640);

    const CCallerLock lock(framework.path());

    EXPECT_EQ(modeOf(path), 0640U);
}

TEST_F(CallerLock, TryToTakeSucceedsAndLeavesTheFile)
{
    {
        CCallerLock lock(framework.path());
        EXPECT_TRUE(lock.tryToTake());
    }
    EXPECT_EQ(readFile(path), "");
}

TEST_F(CallerLock, TryToTakeFailsAndNamesTheHolder)
{
    const LockHolder holder(path);
    CCallerLock lock(framework.path());

    EXPECT_FALSE(lock.tryToTake());
    EXPECT_EQ(lock.holder(), holder.message());
    EXPECT_EQ(CCallerLock::holderOf(framework.path()), holder.message());
}

TEST_F(CallerLock, HolderOfReturnsNothingWithoutAFile)
{
    EXPECT_EQ(CCallerLock::holderOf(framework.path()), "");
    EXPECT_FALSE(exists(path));
}

TEST_F(CallerLock, ConstructorThrowsWithoutAModelDirectory)
{
    EXPECT_EQ(thrownBy([&] { CCallerLock(framework.path() + "/missing"); }),
              "File access error: No such file or directory: " + framework.path() +
                  "/missing/etc/model/qor_mim_ctl.lock");
}

} // namespace

} // namespace QMT::Test
