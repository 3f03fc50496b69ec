#include "support/FailingCall.h"
#include "support/FakeUser.h"
#include "support/Files.h"
#include "support/ImplTest.h"

#include <Poco/Exception.h>

#include <syslog.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>

namespace QMT::Test
{

namespace
{

class Backups : public ImplTest
{
protected:
    Backups()
    {
        writeFile(framework.configuration(), "configuration");
        writeFile(framework.list(), "list");
    }
};

// ---- backupFiles ----

TEST_F(Backups, BackupFilesMakesBothWorkingCopies)
{
    EXPECT_TRUE(impl.backupFiles());

    EXPECT_EQ(readFile(framework.configuration(".tmp")), "configuration");
    EXPECT_EQ(readFile(framework.list(".tmp")), "list");
    EXPECT_EQ(readFile(framework.configuration()), "configuration");
    EXPECT_EQ(readFile(framework.list()), "list");
    EXPECT_FALSE(exists(framework.configuration(".bak")));
    EXPECT_FALSE(exists(framework.list(".bak")));
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(Backups, BackupFilesOverwritesEarlierWorkingCopies)
{
    writeFile(framework.configuration(".tmp"), "an earlier and longer one");
    writeFile(framework.list(".tmp"), "an earlier and longer one");

    EXPECT_TRUE(impl.backupFiles());

    EXPECT_EQ(readFile(framework.configuration(".tmp")), "configuration");
    EXPECT_EQ(readFile(framework.list(".tmp")), "list");
}

TEST_F(Backups, BackupFilesThrowsWithoutAConfiguration)
{
    std::filesystem::remove(framework.configuration());

    EXPECT_THROW(impl.backupFiles(), Poco::FileException);

    EXPECT_FALSE(exists(framework.list(".tmp")));
}

TEST_F(Backups, BackupFilesThrowsWithoutAList)
{
    std::filesystem::remove(framework.list());

    EXPECT_THROW(impl.backupFiles(), Poco::FileException);

    EXPECT_EQ(readFile(framework.configuration(".tmp")), "configuration");
}

TEST_F(Backups, BackupFilesThrowsWhenTheDirectoryFsyncFails)
{
    const FailingCall failing("fsync", directoryOf(framework.configuration()), EIO);

    EXPECT_THROW(impl.backupFiles(), Poco::WriteFileException);
}

TEST_F(Backups, BackupFilesRefusesALinkOfAnotherUser)
{
    const std::string target = framework.file("target", "untouched");
    std::filesystem::create_symlink(target, framework.list(".tmp"));
    const FakeUser another;

    EXPECT_THROW(impl.backupFiles(), Poco::OpenFileException);

    EXPECT_EQ(readFile(target), "untouched");
}

TEST_F(Backups, BackupFilesFollowsALinkOfTheCaller)
{
    const std::string target = framework.file("target", "untouched");
    std::filesystem::create_symlink(target, framework.list(".tmp"));

    EXPECT_TRUE(impl.backupFiles());

    EXPECT_EQ(readFile(target), "list");
}

// ---- cfgBackup ----

TEST_F(Backups, CfgBackupCopiesBothFiles)
{
    writeFile(framework.configuration(".bak"), "an earlier and longer one");

    EXPECT_TRUE(impl.cfgBackup());

    EXPECT_EQ(readFile(framework.configuration(".bak")), "configuration");
    EXPECT_EQ(readFile(framework.list(".bak")), "list");
    EXPECT_FALSE(exists(framework.configuration(".tmp")));
    EXPECT_FALSE(exists(framework.list(".tmp")));
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(Backups, CfgBackupThrowsWhenABackupCannotBeWritten)
{
    putLoopAt(framework.configuration(".bak"));

    EXPECT_THROW(impl.cfgBackup(), Poco::FileException);

    EXPECT_FALSE(exists(framework.list(".bak")));
}

TEST_F(Backups, CfgBackupThrowsWhenADirectoryFsyncFails)
{
    for (const std::string& path : {framework.configuration(), framework.list()})
    {
        const FailingCall failing("fsync", directoryOf(path), EIO);

        EXPECT_THROW(impl.cfgBackup(), Poco::WriteFileException);
    }
}

TEST_F(Backups, CfgBackupRefusesALinkOfAnotherUser)
{
    const std::string target = framework.file("target", "untouched");
    std::filesystem::create_symlink(target, framework.configuration(".bak"));
    const FakeUser another;

    EXPECT_THROW(impl.cfgBackup(), Poco::OpenFileException);

    EXPECT_EQ(readFile(target), "untouched");
}

// ---- cleanupTmp ----

TEST_F(Backups, CleanupTmpRemovesTheSessionsFilesAlone)
{
    for (const std::string& path : {framework.configuration(".tmp"), framework.list(".tmp"), framework.session(),
                                    framework.lock(), framework.configuration(".bak"), framework.list(".bak")})
    {
        writeFile(path, "content");
    }

    EXPECT_TRUE(impl.cleanupTmp());

    EXPECT_FALSE(exists(framework.configuration(".tmp")));
    EXPECT_FALSE(exists(framework.list(".tmp")));
    EXPECT_FALSE(exists(framework.session()));
    EXPECT_FALSE(exists(framework.lock()));
    EXPECT_EQ(readFile(framework.configuration(".bak")), "content");
    EXPECT_EQ(readFile(framework.list(".bak")), "content");
    EXPECT_EQ(readFile(framework.configuration()), "configuration");
    EXPECT_EQ(readFile(framework.list()), "list");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(Backups, CleanupTmpSucceedsWithoutASession)
{
    EXPECT_TRUE(impl.cleanupTmp());

    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(Backups, CleanupTmpIsSilentWhenADirectoryFsyncFails)
{
    for (const std::string& path : {framework.configuration(), framework.list()})
    {
        const FailingCall failing("fsync", directoryOf(path), EIO);

        EXPECT_TRUE(impl.cleanupTmp());

        EXPECT_EQ(failing.failures(), 1);
    }
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(Backups, CleanupTmpRemovesTheOthersWhenOneFails)
{
    putDirectoryAt(framework.list(".tmp"));
    writeFile(framework.list(".tmp") + "/file", "");
    writeFile(framework.session(), "");
    writeFile(framework.lock(), "");
    writeFile(framework.configuration(".tmp"), "");

    EXPECT_TRUE(impl.cleanupTmp());

    EXPECT_TRUE(exists(framework.list(".tmp") + "/file"));
    EXPECT_FALSE(exists(framework.session()));
    EXPECT_FALSE(exists(framework.lock()));
    EXPECT_FALSE(exists(framework.configuration(".tmp")));
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(Backups, CleanupTmpStopsAtAnExceptionOfAnotherKind)
{
#ifdef __arm__
    GTEST_SKIP() << "an exception cannot leave a C function on this architecture";
#endif
    for (const std::string& path :
         {framework.list(".tmp"), framework.session(), framework.lock(), framework.configuration(".tmp")})
    {
        writeFile(path, "content");
    }
    {
        const FailingCall failing("stat", framework.lock(), FailingCall::THROWS);
        EXPECT_THROW(impl.cleanupTmp(), std::runtime_error);
    }
    EXPECT_FALSE(exists(framework.list(".tmp")));
    EXPECT_FALSE(exists(framework.session()));
    EXPECT_TRUE(exists(framework.lock()));
    EXPECT_TRUE(exists(framework.configuration(".tmp")));
}

// ---- Checksums ----

TEST_F(Backups, ChecksumFileComputesTheStandardCrc32)
{
    EXPECT_EQ(CQorModelToolImpl::checksumFile(framework.file("digits", "123456789")), 0xCBF43926U);
}

TEST_F(Backups, ChecksumFileReturnsZeroForAMissingOrEmptyFile)
{
    EXPECT_EQ(CQorModelToolImpl::checksumFile(framework.path() + "/missing"), 0U);
    EXPECT_EQ(CQorModelToolImpl::checksumFile(framework.file("empty", "")), 0U);
}

TEST_F(Backups, ChecksumFileReturnsZeroForADirectory)
{
    EXPECT_EQ(CQorModelToolImpl::checksumFile(framework.path()), 0U);
}

TEST_F(Backups, CrcCheckModelFilesIsTrueForEqualFiles)
{
    writeFile(framework.list(".tmp"), "list");

    EXPECT_TRUE(impl.crcCheckModelFiles());
}

TEST_F(Backups, CrcCheckModelFilesIsTrueForEmptyFiles)
{
    writeFile(framework.list(), "");
    writeFile(framework.list(".tmp"), "");

    EXPECT_TRUE(impl.crcCheckModelFiles());
}

TEST_F(Backups, CrcCheckModelFilesIsFalseForOneChangedByte)
{
    writeFile(framework.list(".tmp"), "lisT");

    EXPECT_FALSE(impl.crcCheckModelFiles());
}

TEST_F(Backups, CrcCheckModelFilesIsFalseForALinkOfAnotherUser)
{
    std::filesystem::create_symlink(framework.list(), framework.list(".tmp"));
    EXPECT_TRUE(impl.crcCheckModelFiles());
    const FakeUser another;

    EXPECT_FALSE(impl.crcCheckModelFiles());
}

TEST_F(Backups, CrcCheckQORFilesIsTrueForEqualFiles)
{
    writeFile(framework.configuration(".tmp"), "configuration");

    EXPECT_TRUE(impl.crcCheckQORFiles());
}

TEST_F(Backups, CrcCheckQORFilesIsFalseForOneChangedByte)
{
    writeFile(framework.configuration(".tmp"), "configuratioN");

    EXPECT_FALSE(impl.crcCheckQORFiles());
}

TEST_F(Backups, CrcCheckQORFilesIsTrueForEmptyFiles)
{
    writeFile(framework.configuration(), "");
    writeFile(framework.configuration(".tmp"), "");

    EXPECT_TRUE(impl.crcCheckQORFiles());
}

TEST_F(Backups, CrcCheckQORFilesIsFalseWhenAReadFails)
{
    writeFile(framework.configuration(), std::string(300000, 'x'));
    writeFile(framework.configuration(".tmp"), "");
    const FailingCall unreadable("read", framework.configuration(), EIO, 1);

    EXPECT_FALSE(impl.crcCheckQORFiles());
}

TEST_F(Backups, CrcCheckModelFilesIsFalseWhenAnOpenFails)
{
    writeFile(framework.list(), "");
    writeFile(framework.list(".tmp"), "");
    const FailingCall refused("fopen", framework.list(".tmp"), EACCES);

    EXPECT_FALSE(impl.crcCheckModelFiles());
}

TEST_F(Backups, CrcChecksReadTheLiveFileFirst)
{
    for (const std::string& path :
         {framework.list(), framework.list(".tmp"), framework.configuration(), framework.configuration(".tmp")})
    {
        putDirectoryAt(path);
    }

    EXPECT_FALSE(impl.crcCheckModelFiles());
    EXPECT_FALSE(impl.crcCheckQORFiles());

    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_INFO, "Unable to load file " + framework.list()},
                                              {LOG_INFO, "Unable to load file " + framework.list(".tmp")},
                                              {LOG_INFO, "Unable to load file " + framework.configuration()},
                                              {LOG_INFO, "Unable to load file " + framework.configuration(".tmp")}}));
}

TEST_F(Backups, CrcChecksTreatAMissingWorkingCopyAsEmpty)
{
    EXPECT_FALSE(impl.crcCheckModelFiles());
    EXPECT_FALSE(impl.crcCheckQORFiles());

    writeFile(framework.list(), "");
    EXPECT_TRUE(impl.crcCheckModelFiles());
}

} // namespace

} // namespace QMT::Test
