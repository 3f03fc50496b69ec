#include "support/FailingCall.h"
#include "support/Files.h"
#include "support/ImplTest.h"

#include <Poco/Exception.h>
#include <Poco/Message.h>

#include <syslog.h>

#include <cerrno>
#include <filesystem>

namespace QMT::Test
{

namespace
{

using Poco::Message;

class ModelFileList : public ImplTest
{
protected:
    ModelFileList() : workingCopy(framework.list(".tmp"))
    {
    }

    const std::string workingCopy;
};

// ---- verifyFileExist ----

TEST_F(ModelFileList, VerifyFileExistFindsAFile)
{
    EXPECT_TRUE(CQorModelToolImpl::verifyFileExist(framework.file("a.xml", "")));
    EXPECT_FALSE(CQorModelToolImpl::verifyFileExist(framework.path() + "/missing"));
}

TEST_F(ModelFileList, VerifyFileExistIsFalseForADanglingLink)
{
    std::filesystem::create_symlink(framework.path() + "/missing", framework.path() + "/link");

    EXPECT_FALSE(CQorModelToolImpl::verifyFileExist(framework.path() + "/link"));
}

TEST_F(ModelFileList, VerifyFileExistIsTrueForADirectory)
{
    EXPECT_TRUE(CQorModelToolImpl::verifyFileExist(framework.path()));
}

TEST_F(ModelFileList, VerifyFileExistThrowsForAnEmptyPath)
{
    EXPECT_THROW(static_cast<void>(CQorModelToolImpl::verifyFileExist("")), Poco::Exception);
}

// ---- verifyModelFileEntry: true when the entry is absent ----

TEST_F(ModelFileList, VerifyEntryReadsTheWorkingCopyAlone)
{
    writeFile(framework.list(), "/m/live.xml\n");
    writeFile(workingCopy, "/m/copy.xml\n");

    EXPECT_TRUE(impl.verifyModelFileEntry("/m/live.xml"));
    EXPECT_FALSE(impl.verifyModelFileEntry("/m/copy.xml"));
}

TEST_F(ModelFileList, VerifyEntryFindsAPartOfALine)
{
    writeFile(workingCopy, "/m/ab.xml\n");

    EXPECT_FALSE(impl.verifyModelFileEntry("/m/a"));
    EXPECT_FALSE(impl.verifyModelFileEntry("b.xml\n"));
    EXPECT_TRUE(impl.verifyModelFileEntry("/m/b"));
    EXPECT_TRUE(impl.verifyModelFileEntry("/m/AB.xml"));
    EXPECT_TRUE(impl.verifyModelFileEntry("/m/ab.xml.new"));
}

TEST_F(ModelFileList, VerifyEntryAlwaysFindsAnEmptyEntry)
{
    EXPECT_FALSE(impl.verifyModelFileEntry(""));
}

TEST_F(ModelFileList, VerifyEntryFindsNothingWithoutAWorkingCopy)
{
    EXPECT_TRUE(impl.verifyModelFileEntry("/m/a.xml"));
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(ModelFileList, VerifyEntryFindsNothingInADirectory)
{
    putDirectoryAt(workingCopy);

    EXPECT_TRUE(impl.verifyModelFileEntry("/m/a.xml"));
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_INFO, "Unable to load file " + workingCopy}}));
}

TEST_F(ModelFileList, VerifyEntryFindsNothingWhenAReadFails)
{
    writeFile(workingCopy, "/m/a.xml\n" + std::string(300000, 'x'));
    const FailingCall unreadable("read", workingCopy, EIO, 1);

    EXPECT_TRUE(impl.verifyModelFileEntry("/m/a.xml"));
}

// ---- updateModelFile ----

TEST_F(ModelFileList, UpdateAppendsTheEntry)
{
    writeFile(workingCopy, "\n  /m/a.xml \n\n");

    EXPECT_TRUE(impl.updateModelFile("/m/b.xml"));

    EXPECT_EQ(readFile(workingCopy), "\n  /m/a.xml \n\n/m/b.xml\n");
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(ModelFileList, UpdateCreatesAMissingWorkingCopy)
{
    EXPECT_TRUE(impl.updateModelFile("/m/a.xml"));

    EXPECT_EQ(readFile(workingCopy), "/m/a.xml\n");
    EXPECT_EQ(readFile(framework.list()), "");
}

TEST_F(ModelFileList, UpdateJoinsALastLineWithoutANewline)
{
    writeFile(workingCopy, "/m/a.xml");

    EXPECT_TRUE(impl.updateModelFile("/m/b.xml"));

    EXPECT_EQ(readFile(workingCopy), "/m/a.xml/m/b.xml\n");
}

TEST_F(ModelFileList, UpdateReportsAFullDisk)
{
    putFullDeviceAt(workingCopy);

    EXPECT_FALSE(impl.updateModelFile("/m/a.xml"));

    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_CRITICAL, "Unable to write the new model!"}}));
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(ModelFileList, UpdateReportsADirectory)
{
    putDirectoryAt(workingCopy);

    EXPECT_FALSE(impl.updateModelFile("/m/a.xml"));

    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_CRITICAL, "Unable to write the new model!"}}));
}

TEST_F(ModelFileList, UpdateKeepsAFileThatCannotBeOpened)
{
    writeFile(workingCopy, "/m/a.xml\n");
    const FailingCall failing("fopen", workingCopy, EACCES);

    EXPECT_FALSE(impl.updateModelFile("/m/b.xml"));

    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_CRITICAL, "Unable to write the new model!"}}));
    EXPECT_EQ(failing.failures(), 1);
    EXPECT_EQ(std::filesystem::file_size(workingCopy), 9U);
}

TEST_F(ModelFileList, UpdateTreatsAnUnreadableEmptyFileAsEmpty)
{
    writeFile(workingCopy, "");
    {
        const FailingCall failing("fopen", workingCopy, EACCES);
        EXPECT_TRUE(impl.updateModelFile("/m/b.xml"));
    }
    EXPECT_EQ(readFile(workingCopy), "/m/b.xml\n");
}

// ---- removeModelFileEntry ----

TEST_F(ModelFileList, RemoveEntryKeepsAFileThatCannotBeOpened)
{
    writeFile(workingCopy, "/m/a.xml\n");
    const FailingCall failing("fopen", workingCopy, EACCES);

    EXPECT_TRUE(impl.removeModelFileEntry("/m/a.xml"));

    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_WARNING, "Unable to open: " + workingCopy}}));
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_WARNING, "Unable to open: " + workingCopy}}));
    EXPECT_EQ(std::filesystem::file_size(workingCopy), 9U);
}

TEST_F(ModelFileList, RemoveEntryRemovesEveryLineWithTheEntry)
{
    writeFile(workingCopy, "/m/a.xml\n/m/b.xml\n/other/m/a.xml.old\n/m/c.xml\n");

    EXPECT_TRUE(impl.removeModelFileEntry("/m/a.xml"));

    EXPECT_EQ(readFile(workingCopy), "/m/b.xml\n/m/c.xml\n");
    EXPECT_EQ(log.messages(),
              (Messages{{Message::PRIO_INFORMATION, "Found and removed model entry: /m/a.xml"},
                        {Message::PRIO_INFORMATION, "Found and removed model entry: /other/m/a.xml.old"}}));
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(ModelFileList, RemoveEntryKeepsSpecialCharacters)
{
    writeFile(workingCopy, "/m/a.xml\n/m/~b;c,d|e:f.xml\n");

    EXPECT_TRUE(impl.removeModelFileEntry("/m/a.xml"));

    EXPECT_EQ(readFile(workingCopy), "/m/~b;c,d|e:f.xml\n");
}

TEST_F(ModelFileList, RemoveEntryTidiesTheListWithoutAMatch)
{
    writeFile(workingCopy, "\n  /m/b c.xml\t\r\n\n \n/m/d.xml");

    EXPECT_TRUE(impl.removeModelFileEntry("/m/a.xml"));

    EXPECT_EQ(readFile(workingCopy), "/m/b c.xml\n/m/d.xml\n");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(ModelFileList, RemoveEntryCreatesAMissingWorkingCopy)
{
    EXPECT_TRUE(impl.removeModelFileEntry("/m/a.xml"));

    EXPECT_EQ(readFile(workingCopy), "");
}

TEST_F(ModelFileList, RemoveEntryReportsADirectory)
{
    putDirectoryAt(workingCopy);

    EXPECT_TRUE(impl.removeModelFileEntry("/m/a.xml"));

    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_WARNING, "Unable to open: " + workingCopy}}));
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_INFO, "Unable to load file " + workingCopy},
                                              {LOG_WARNING, "Unable to open: " + workingCopy}}));
}

TEST_F(ModelFileList, RemoveEntryReportsAPathWithFormatCharacters)
{
    impl.qorPath() = framework.path() + "/%s%n";

    EXPECT_TRUE(impl.removeModelFileEntry("/m/a.xml"));

    const std::string text = "Unable to open: " + framework.path() + "/%s%n/etc/model/model_file_list.cfg.tmp";
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_WARNING, text}}));
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_WARNING, text}}));
}

// ---- addModelFileEntry ----

TEST_F(ModelFileList, AddEntryFailsForAMissingModelFile)
{
    bool alreadyListed = true;

    EXPECT_FALSE(impl.addModelFileEntry("/nonexistent/a.xml", alreadyListed));

    EXPECT_FALSE(alreadyListed);
    EXPECT_FALSE(exists(workingCopy));
    EXPECT_EQ(log.messages(),
              (Messages{{Message::PRIO_INFORMATION, "Cannot find the model file: /nonexistent/a.xml"}}));
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(ModelFileList, AddEntryAcceptsAListedModelFile)
{
    const std::string path = framework.file("a.xml", "");
    writeFile(workingCopy, "\n" + path);
    bool alreadyListed = false;

    EXPECT_TRUE(impl.addModelFileEntry(path, alreadyListed));

    EXPECT_TRUE(alreadyListed);
    EXPECT_EQ(readFile(workingCopy), "\n" + path);
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_INFORMATION, "Modelfile entry already exists: " + path +
                                                                        "\nSkipping adding of modelfile."}}));
}

TEST_F(ModelFileList, AddEntryAppendsANewModelFile)
{
    const std::string path = framework.file("a.xml", "");
    bool alreadyListed = true;

    EXPECT_TRUE(impl.addModelFileEntry(path, alreadyListed));

    EXPECT_FALSE(alreadyListed);
    EXPECT_EQ(readFile(workingCopy), path + "\n");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(ModelFileList, AddEntryFailsOnAFullDevice)
{
    const std::string path = framework.file("a.xml", "");
    putFullDeviceAt(workingCopy);
    bool alreadyListed = true;

    EXPECT_FALSE(impl.addModelFileEntry(path, alreadyListed));

    EXPECT_FALSE(alreadyListed);
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_CRITICAL, "Unable to write the new model!"}}));
}

} // namespace

} // namespace QMT::Test
