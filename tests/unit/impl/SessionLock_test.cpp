#include "support/FailingCall.h"
#include "support/FileSizeLimit.h"
#include "support/Files.h"
#include "support/ImplTest.h"

#include <Poco/Message.h>

#include <syslog.h>

#include <cerrno>

namespace QMT::Test
{

namespace
{

const Messages NOT_CREATED = {{Poco::Message::PRIO_CRITICAL, "Unable to create lockfile"}};
const Messages NOT_CREATED_SYSTEM_LOG = {{LOG_WARNING, "unable to create lockfile"}};
const Messages NO_HOST = {{Poco::Message::PRIO_WARNING, "Unable to find hostname"}};
const Messages NO_HOST_SYSTEM_LOG = {{LOG_WARNING, "Unable to find hostname"}};

class SessionLock : public ImplTest
{
protected:
    std::string host = "as it was";
};

// ---- getHostName ----

TEST_F(SessionLock, GetHostNameReturnsTheMachinesName)
{
    EXPECT_EQ(CQorModelToolImpl::getHostName(), "this-host");
}

TEST_F(SessionLock, GetHostNameReturnsALongName)
{
    const FakeHostName longName(std::string(255, 'h'));

    EXPECT_EQ(CQorModelToolImpl::getHostName(), std::string(255, 'h'));
}

TEST_F(SessionLock, GetHostNameStopsAtTheEndOfTheBuffer)
{
    const FakeHostName endless(std::string(1000, 'h'));

    EXPECT_EQ(CQorModelToolImpl::getHostName(), std::string(256, 'h'));
}

// ---- isLockFile, createLockFile ----

TEST_F(SessionLock, IsLockFileIsTrueOnceCreated)
{
    EXPECT_FALSE(impl.isLockFile());
    impl.createLockFile();
    EXPECT_TRUE(impl.isLockFile());
}

TEST_F(SessionLock, CreateLockFileWritesTheHostName)
{
    EXPECT_EQ(impl.createLockFile(), 1);

    EXPECT_EQ(readFile(framework.lock()), "this-host");
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(SessionLock, CreateLockFileKeepsAnExistingLock)
{
    writeFile(framework.lock(), "other-host\n");

    EXPECT_EQ(impl.createLockFile(), 0);

    EXPECT_EQ(readFile(framework.lock()), "other-host\n");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(SessionLock, CreateLockFileFailsWithoutAModelDirectory)
{
    impl.qorPath() = framework.path() + "/missing";

    EXPECT_EQ(impl.createLockFile(), 3);

    EXPECT_EQ(log.messages(), NOT_CREATED);
    EXPECT_EQ(systemLog.messages(), NOT_CREATED_SYSTEM_LOG);
}

TEST_F(SessionLock, CreateLockFileFailsOnAFullDisk)
{
    int result = 0;
    {
        const FileSizeLimit fullDisk;
        result = impl.createLockFile();
    }

    EXPECT_EQ(result, 3);
    EXPECT_EQ(readFile(framework.lock()), "");
    EXPECT_EQ(log.messages(), NOT_CREATED);
    EXPECT_EQ(systemLog.messages(), NOT_CREATED_SYSTEM_LOG);
}

TEST_F(SessionLock, CreateLockFileFailsWhenFsyncFails)
{
    const FailingCall failing("fsync", framework.lock(), EIO);

    EXPECT_EQ(impl.createLockFile(), 3);

    EXPECT_EQ(log.messages(), NOT_CREATED);
    EXPECT_EQ(systemLog.messages(), NOT_CREATED_SYSTEM_LOG);
}

// ---- getSessionHost ----

TEST_F(SessionLock, GetSessionHostReturnsTheOwner)
{
    writeFile(framework.lock(), "other-host");

    EXPECT_TRUE(impl.getSessionHost(host));

    EXPECT_EQ(host, "other-host");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(SessionLock, GetSessionHostReturnsTheFirstWord)
{
    writeFile(framework.lock(), " \n\tother-host \nsecond");

    EXPECT_TRUE(impl.getSessionHost(host));

    EXPECT_EQ(host, "other-host");
}

TEST_F(SessionLock, GetSessionHostKeepsTheHostForAnEmptyFile)
{
    writeFile(framework.lock(), "");

    EXPECT_TRUE(impl.getSessionHost(host));

    EXPECT_EQ(host, "as it was");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(SessionLock, GetSessionHostFailsWithoutALockFile)
{
    EXPECT_FALSE(impl.getSessionHost(host));

    EXPECT_EQ(host, "as it was");
    EXPECT_EQ(log.messages(), NO_HOST);
    EXPECT_EQ(systemLog.messages(), NO_HOST_SYSTEM_LOG);
}

TEST_F(SessionLock, GetSessionHostFailsForADirectory)
{
    putDirectoryAt(framework.lock());

    EXPECT_FALSE(impl.getSessionHost(host));

    EXPECT_EQ(log.messages(), NO_HOST);
    EXPECT_EQ(systemLog.messages(), NO_HOST_SYSTEM_LOG);
}

TEST_F(SessionLock, GetSessionHostFailsForAPipe)
{
    putPipeAt(framework.lock());

    EXPECT_FALSE(impl.getSessionHost(host));

    EXPECT_EQ(log.messages(), NO_HOST);
    EXPECT_EQ(systemLog.messages(), NO_HOST_SYSTEM_LOG);
}

TEST_F(SessionLock, GetSessionHostTruncatesAVeryLongName)
{
    writeFile(framework.lock(), std::string(300000, 'h'));

    EXPECT_TRUE(impl.getSessionHost(host));

    EXPECT_EQ(host, std::string(257, 'h'));
}

TEST_F(SessionLock, GetSessionHostKeepsTheHostWhenAReadFails)
{
    writeFile(framework.lock(), "other-host");
    const FailingCall unreadable("read", framework.lock(), EIO, 1);

    EXPECT_FALSE(impl.getSessionHost(host));

    EXPECT_EQ(host, "as it was");
}

} // namespace

} // namespace QMT::Test
