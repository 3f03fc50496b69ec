#include "support/FailingCall.h"
#include "support/FakeInstallation.h"
#include "support/FakeUser.h"
#include "support/Files.h"
#include "support/ImplTest.h"
#include "support/OpenedFiles.h"

#include <Poco/Message.h>

#include <syslog.h>

#include <cerrno>
#include <filesystem>

namespace QMT::Test
{

namespace
{

using Poco::Message;

const Messages INVALID_QUEUE = {{Message::PRIO_CRITICAL, "Invalid command queue, aborting!"}};
const Messages INVALID_KIND = {{Message::PRIO_CRITICAL, "Invalid command queue, aborting"}};
const Messages SEPARATOR_MISSING = {{Message::PRIO_WARNING, "Unable to locate model handler.\nAborting."}};
const Messages SEPARATOR_MISSING_SYSTEM_LOG = {{LOG_WARNING, "Unable to locate model handler.\nAborting."}};
const Messages UNWRITABLE_SESSION = {{Message::PRIO_CRITICAL, "Unable to write to FIFO file!"}};
const Messages UNWRITABLE_SESSION_SYSTEM_LOG = {{LOG_WARNING, "Unable to write to FIFO file"}};

class SessionFile : public ImplTest
{
protected:
    void stage(CmdID kind, const std::string& text)
    {
        impl.queue().emplace_front(kind, text);
    }

    void tokenize(const std::string& content, int expected)
    {
        writeFile(framework.session(), content);
        EXPECT_EQ(impl.tokenizeFIFO(), expected);
    }
};

// ---- The queue's numbers ----

TEST_F(SessionFile, SaveFIFOWritesTheFixedKindNumbers)
{
    stage(CmdID::AddModelFile, "a");
    stage(CmdID::ModelHandler, "b");
    stage(CmdID::RemoveModelFile, "c");
    stage(CmdID::AddModelFileWithHandler, "d");
    stage(CmdID::RemoveModelFileWithHandler, "e");

    EXPECT_TRUE(impl.saveFIFO());

    EXPECT_EQ(readFile(framework.session()), "0:a\n1:b\n2:c\n3:d\n4:e\n");
}

// ---- loadFile ----

TEST_F(SessionFile, LoadFileReadsEveryByte)
{
    const std::string bytes("line\n\0\xff\r\n no end", 16);
    const std::string path = framework.file("bytes", bytes);
    std::string content;

    EXPECT_TRUE(CQorModelToolImpl::loadFile(path, content));

    EXPECT_EQ(content, bytes);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(SessionFile, LoadFileReplacesLongerContent)
{
    const std::string path = framework.file("short", "ab");
    std::string content = "something longer";

    EXPECT_TRUE(CQorModelToolImpl::loadFile(path, content));

    EXPECT_EQ(content, "ab");
}

TEST_F(SessionFile, LoadFileKeepsTheContentForAMissingFile)
{
    std::string content = "as it was";

    EXPECT_TRUE(CQorModelToolImpl::loadFile(framework.path() + "/missing", content));

    EXPECT_EQ(content, "as it was");
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(SessionFile, LoadFileFailsForADirectory)
{
    std::string content;

    EXPECT_FALSE(CQorModelToolImpl::loadFile(framework.path(), content));

    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_INFO, "Unable to load file " + framework.path()}}));
    EXPECT_EQ(log.messages(), SILENCE);
}

// ---- isFIFOFile, loadFIFO ----

TEST_F(SessionFile, IsFIFOFileIsTrueForAnExistingFile)
{
    EXPECT_FALSE(impl.isFIFOFile());
    writeFile(framework.session(), "");
    EXPECT_TRUE(impl.isFIFOFile());
}

TEST_F(SessionFile, LoadFIFOFailsSilentlyWithoutAFile)
{
    EXPECT_FALSE(impl.loadFIFO());

    EXPECT_TRUE(impl.queue().empty());
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(SessionFile, LoadFIFORestoresASavedQueue)
{
    stage(CmdID::RemoveModelFile, "/m/a.xml");
    stage(CmdID::AddModelFileWithHandler, "/m/b.xml|h|1|1");
    const CommandQueue saved = impl.queue();
    EXPECT_TRUE(impl.saveFIFO());
    impl.queue().clear();

    EXPECT_TRUE(impl.loadFIFO());

    EXPECT_EQ(impl.queue(), saved);
    EXPECT_EQ(impl.queue().front().first, CmdID::AddModelFileWithHandler);
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(SessionFile, LoadFIFOReportsAnInvalidQueueAndSucceeds)
{
    writeFile(framework.session(), "");

    EXPECT_TRUE(impl.loadFIFO());

    EXPECT_TRUE(impl.queue().empty());
    EXPECT_EQ(log.messages(), INVALID_QUEUE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(SessionFile, LoadFIFOReportsAnUnreadableFile)
{
    putDirectoryAt(framework.session());

    EXPECT_FALSE(impl.loadFIFO());

    EXPECT_TRUE(impl.queue().empty());
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_CRITICAL, "Unable to open existing FIFO file!"}}));
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_INFO, "Unable to load file " + framework.session()},
                                              {LOG_WARNING, "Unable to open existing FIFO file"}}));
}

TEST_F(SessionFile, LoadFIFOReportsALinkOfAnotherUser)
{
    std::filesystem::create_symlink(framework.file("target", "0:a\n"), framework.session());
    const FakeUser another;

    EXPECT_FALSE(impl.loadFIFO());

    EXPECT_EQ(impl.queue(), CommandQueue());
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_CRITICAL, "Unable to open existing FIFO file!"}}));
}

// ---- tokenizeFIFO ----

TEST_F(SessionFile, TokenizeFIFOPushesTheNewestToTheFront)
{
    tokenize("2:a\n3:b|h|1|1\n", 1);

    EXPECT_EQ(impl.queue(), (CommandQueue{{CmdID::AddModelFileWithHandler, "b|h|1|1"}, {CmdID::RemoveModelFile, "a"}}));
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(SessionFile, TokenizeFIFOAddsToTheQueue)
{
    stage(CmdID::AddModelFile, "earlier");

    tokenize("0:later\n", 1);

    EXPECT_EQ(impl.queue(), (CommandQueue{{CmdID::AddModelFile, "later"}, {CmdID::AddModelFile, "earlier"}}));
}

TEST_F(SessionFile, TokenizeFIFOIgnoresBlankLinesAndSpace)
{
    tokenize("\n  2 :  a b \t\r\n\n\n:0:c", 1);

    EXPECT_EQ(impl.queue(), (CommandQueue{{CmdID::AddModelFile, "c"}, {CmdID::RemoveModelFile, "a b"}}));
}

TEST_F(SessionFile, TokenizeFIFOKeepsAnUnknownKind)
{
    tokenize("7:abc\n-2:def\n", 1);

    EXPECT_EQ(impl.queue(), (CommandQueue{{static_cast<CmdID>(-2), "def"}, {static_cast<CmdID>(7), "abc"}}));
}

TEST_F(SessionFile, TokenizeFIFOParsesNumbersLikeTheLibrary)
{
    tokenize("1,0:ten\n+:none\n-:none\n", 1);

    EXPECT_EQ(impl.queue(), (CommandQueue{{CmdID(0), "none"}, {CmdID(0), "none"}, {CmdID(10), "ten"}}));
}

TEST_F(SessionFile, TokenizeFIFOFailsForAnEmptyFile)
{
    tokenize("", 3);

    EXPECT_TRUE(impl.queue().empty());
    EXPECT_EQ(log.messages(), INVALID_QUEUE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(SessionFile, TokenizeFIFOFailsWithoutCompletePairs)
{
    for (const std::string text : {"\n", " \n\t\n", ":::\n", "0\n", "0:\n", "0:a:b\n", "0:a\n1\n"})
    {
        log.clear();
        tokenize(text, 3);
        EXPECT_EQ(log.messages(), INVALID_QUEUE) << text;
    }
    EXPECT_TRUE(impl.queue().empty());
}

TEST_F(SessionFile, TokenizeFIFOFailsForAMissingFile)
{
    EXPECT_EQ(impl.tokenizeFIFO(), 3);

    EXPECT_EQ(log.messages(), INVALID_QUEUE);
}

TEST_F(SessionFile, TokenizeFIFOFailsForADirectory)
{
    putDirectoryAt(framework.session());

    EXPECT_EQ(impl.tokenizeFIFO(), 3);

    EXPECT_EQ(log.messages(), INVALID_QUEUE);
}

TEST_F(SessionFile, TokenizeFIFOQueuesNothingWhenAReadFails)
{
    std::string content;
    // Long paths: the failing read ends within one, so that kinds and texts still pair.
    for (int i = 0; i < 100; ++i)
    {
        content += "0:/m/" + std::string(1000, 'a') + "\n";
    }
    writeFile(framework.session(), content);
    const FailingCall unreadable("read", framework.session(), EIO, 1);

    EXPECT_EQ(impl.tokenizeFIFO(), 3);

    EXPECT_TRUE(impl.queue().empty());
    EXPECT_EQ(log.messages(), INVALID_QUEUE);
}

TEST_F(SessionFile, TokenizeFIFOKeepsSpecialCharactersInAPath)
{
    tokenize("0:/m/~a;b,c d|e.xml\n", 1);

    EXPECT_EQ(impl.queue(), (CommandQueue{{CmdID::AddModelFile, "/m/~a;b,c d|e.xml"}}));
}

TEST_F(SessionFile, TokenizeFIFOFailsForAPathWithAColon)
{
    tokenize("0:/m/a\n0:/m/b:c\n", 3);

    EXPECT_TRUE(impl.queue().empty());
    EXPECT_EQ(log.messages(), INVALID_QUEUE);
}

TEST_F(SessionFile, TokenizeFIFOMisreadsAPathWithTwoColons)
{
    tokenize("0:/m/a:b:c\n", 3);

    EXPECT_EQ(impl.queue(), (CommandQueue{{CmdID::AddModelFile, "/m/a"}}));
    EXPECT_EQ(log.messages(), INVALID_KIND);
}

TEST_F(SessionFile, TokenizeFIFOKeepsActionsBeforeAnInvalidKind)
{
    tokenize("0:first\nx:abc\n0:last\n", 3);

    EXPECT_EQ(impl.queue(), (CommandQueue{{CmdID::AddModelFile, "first"}}));
    EXPECT_EQ(log.messages(), INVALID_KIND);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(SessionFile, TokenizeFIFOFailsForAKindThatIsNoInteger)
{
    for (const std::string kind : {"99999999999", "1.5", "0x1", "--1", "1 2"})
    {
        log.clear();
        tokenize(kind + ":abc\n", 3);
        EXPECT_EQ(log.messages(), INVALID_KIND) << kind;
    }
    EXPECT_TRUE(impl.queue().empty());
}

// ---- saveFIFO ----

TEST_F(SessionFile, SaveFIFOWritesTheOldestActionFirst)
{
    stage(CmdID::RemoveModelFile, "a");
    stage(CmdID::AddModelFileWithHandler, "b|h|1|1");

    EXPECT_TRUE(impl.saveFIFO());

    EXPECT_EQ(readFile(framework.session()), "2:a\n3:b|h|1|1\n");
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(SessionFile, SaveFIFOWritesAnUnknownKind)
{
    stage(static_cast<CmdID>(-17), "abc");

    EXPECT_TRUE(impl.saveFIFO());

    EXPECT_EQ(readFile(framework.session()), "-17:abc\n");
}

TEST_F(SessionFile, SaveFIFOWritesAnEmptyFileForAnEmptyQueue)
{
    EXPECT_TRUE(impl.saveFIFO());

    EXPECT_EQ(readFile(framework.session()), "");
}

TEST_F(SessionFile, SaveFIFOReplacesLongerContent)
{
    writeFile(framework.session(), "0:much longer than what comes now\n");
    stage(CmdID::AddModelFile, "a");

    EXPECT_TRUE(impl.saveFIFO());

    EXPECT_EQ(readFile(framework.session()), "0:a\n");
}

TEST_F(SessionFile, SaveFIFOBlocksSignals)
{
    const OpenedFiles files;

    EXPECT_TRUE(impl.saveFIFO());

    EXPECT_TRUE(files.wereSignalsBlockedFor(framework.session()));
    EXPECT_FALSE(OpenedFiles::areSignalsBlocked());
}

TEST_F(SessionFile, SaveFIFOReportsAFullDisk)
{
    putFullDeviceAt(framework.session());
    stage(CmdID::AddModelFile, "a");

    EXPECT_FALSE(impl.saveFIFO());

    EXPECT_EQ(log.messages(), UNWRITABLE_SESSION);
    EXPECT_EQ(systemLog.messages(), UNWRITABLE_SESSION_SYSTEM_LOG);
}

/// An existing session of this host, with one action.
class EarlierSession : public SessionFile
{
protected:
    EarlierSession()
    {
        writeFile(framework.lock(), "this-host");
        writeFile(framework.session(), "0:earlier\n");
        stage(CmdID::AddModelFile, "a");
    }

    void failToFindFramework(int failures)
    {
        std::string directory;
        const FakeInstallation installation;
        installation.setAgent("echo " + framework.path());
        const FailingCall failing("stat", framework.path(), EIO, 0, failures);
        EXPECT_FALSE(impl.getEnvDir(directory));
    }

    void expectWritingRefused()
    {
        EXPECT_FALSE(impl.saveFIFO());

        EXPECT_EQ(readFile(framework.session()), "0:earlier\n");
        EXPECT_EQ(log.messages(), UNWRITABLE_SESSION);
        EXPECT_EQ(systemLog.messages(), UNWRITABLE_SESSION_SYSTEM_LOG);
    }
};

TEST_F(EarlierSession, SaveFIFOFailsAfterAStatErrorOfTheQueue)
{
    {
        const FailingCall failing("stat", framework.session(), EIO);
        EXPECT_FALSE(impl.loadFIFO());
    }

    expectWritingRefused();
}

TEST_F(EarlierSession, SaveFIFOFailsAfterAStatErrorOfTheLock)
{
    {
        const FailingCall failing("stat", framework.lock(), EACCES);
        EXPECT_FALSE(impl.isLockFile());
    }

    expectWritingRefused();
}

TEST_F(EarlierSession, SaveFIFOFailsAfterAnOpenErrorOfTheLock)
{
    {
        std::string host;
        const FailingCall failing("fopen", framework.lock(), EMFILE);
        EXPECT_FALSE(impl.getSessionHost(host));
    }
    log.clear();
    systemLog.clear();

    expectWritingRefused();
}

TEST_F(EarlierSession, SaveFIFOFailsAfterAStatErrorOfTheFramework)
{
    failToFindFramework(FailingCall::FOREVER);

    expectWritingRefused();
}

TEST_F(EarlierSession, SaveFIFOFailsAfterATransientFrameworkStatError)
{
    failToFindFramework(1);

    expectWritingRefused();
}

TEST_F(EarlierSession, SaveFIFOSucceedsOnceTheQueueIsLoaded)
{
    EXPECT_TRUE(impl.loadFIFO());
    {
        const FailingCall failing("stat", framework.lock(), EIO);
        EXPECT_FALSE(impl.isLockFile());
    }

    EXPECT_TRUE(impl.saveFIFO());

    EXPECT_EQ(readFile(framework.session()), "0:a\n0:earlier\n");
}

TEST_F(EarlierSession, SaveFIFOSucceedsInASessionOfThisRun)
{
    std::string host;
    std::filesystem::remove(framework.lock());
    {
        const FailingCall failing("stat", framework.lock(), EIO);
        EXPECT_FALSE(impl.isLockFile());
    }
    EXPECT_FALSE(impl.getSessionHost(host));
    EXPECT_EQ(impl.createLockFile(), CQorModelToolImpl::LOCK_CREATED);

    EXPECT_TRUE(impl.saveFIFO());

    EXPECT_EQ(readFile(framework.session()), "0:a\n");
}

TEST_F(SessionFile, SaveFIFOReportsAnFsyncFailure)
{
    for (const std::string& path : {framework.session(), directoryOf(framework.session())})
    {
        log.clear();
        systemLog.clear();
        const FailingCall failing("fsync", path, EIO);

        EXPECT_FALSE(impl.saveFIFO());

        EXPECT_EQ(log.messages(), UNWRITABLE_SESSION);
        EXPECT_EQ(systemLog.messages(), UNWRITABLE_SESSION_SYSTEM_LOG);
    }
}

TEST_F(SessionFile, SaveFIFOReportsADirectory)
{
    putDirectoryAt(framework.session());

    EXPECT_FALSE(impl.saveFIFO());

    EXPECT_EQ(log.messages(), UNWRITABLE_SESSION);
    EXPECT_EQ(systemLog.messages(), UNWRITABLE_SESSION_SYSTEM_LOG);
}

TEST_F(SessionFile, SaveFIFOReportsALinkOfAnotherUser)
{
    const std::string target = framework.file("target", "untouched");
    std::filesystem::create_symlink(target, framework.session());
    const FakeUser another;

    EXPECT_FALSE(impl.saveFIFO());

    EXPECT_EQ(readFile(target), "untouched");
    EXPECT_EQ(log.messages(), UNWRITABLE_SESSION);
    EXPECT_EQ(systemLog.messages(), UNWRITABLE_SESSION_SYSTEM_LOG);
}

TEST_F(SessionFile, SaveFIFOReportsAPipe)
{
    putPipeAt(framework.session());

    EXPECT_FALSE(impl.saveFIFO());

    EXPECT_EQ(log.messages(), UNWRITABLE_SESSION);
    EXPECT_EQ(systemLog.messages(), UNWRITABLE_SESSION_SYSTEM_LOG);
}

TEST_F(SessionFile, SaveFIFOReportsAMissingModelDirectory)
{
    impl.qorPath() = framework.path() + "/missing";

    EXPECT_FALSE(impl.saveFIFO());

    EXPECT_EQ(log.messages(), UNWRITABLE_SESSION);
    EXPECT_EQ(systemLog.messages(), UNWRITABLE_SESSION_SYSTEM_LOG);
}

// ---- extractHandlerMoVerTrVer ----

struct ThreeFields
{
    std::string handler = "h0";
    std::string moVersion = "m0";
    std::string trVersion = "t0";
};

class ExtractHandler : public ImplTest
{
protected:
    bool extract(const std::string& entry)
    {
        return impl.extractHandlerMoVerTrVer(entry, fields.handler, fields.moVersion, fields.trVersion);
    }

    void expect(const std::string& handler, const std::string& moVersion, const std::string& trVersion) const
    {
        EXPECT_EQ(fields.handler, handler);
        EXPECT_EQ(fields.moVersion, moVersion);
        EXPECT_EQ(fields.trVersion, trVersion);
    }

    ThreeFields fields;
};

TEST_F(ExtractHandler, SplitsIntoHandlerAndVersions)
{
    EXPECT_TRUE(extract("handler|2|3"));
    expect("handler", "2", "3");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(ExtractHandler, KeepsEmptyFields)
{
    EXPECT_TRUE(extract("h||"));
    expect("h", "", "");
}

TEST_F(ExtractHandler, KeepsBlanks)
{
    EXPECT_TRUE(extract(" h | 1 | 2 "));
    expect(" h ", " 1 ", " 2 ");
}

TEST_F(ExtractHandler, KeepsFurtherSeparatorsInTheLastField)
{
    EXPECT_TRUE(extract("h|1|2|3"));
    expect("h", "1", "2|3");
}

TEST_F(ExtractHandler, RepeatsTheVersionWithoutASecondSeparator)
{
    EXPECT_TRUE(extract("h|2"));
    expect("h", "2", "2");
}

TEST_F(ExtractHandler, FailsWithoutASeparator)
{
    EXPECT_FALSE(extract("h"));
    expect("h0", "m0", "t0");
    EXPECT_EQ(log.messages(), SEPARATOR_MISSING);
    EXPECT_EQ(systemLog.messages(), SEPARATOR_MISSING_SYSTEM_LOG);
}

// ---- extractCommandHandlerMoVerTrVer ----

class ExtractModelFile : public ImplTest
{
protected:
    bool extract(const std::string& entry)
    {
        return impl.extractCommandHandlerMoVerTrVer(entry, path, fields.handler, fields.moVersion, fields.trVersion);
    }

    void expect(const std::string& expectedPath, const std::string& handler, const std::string& moVersion,
                const std::string& trVersion) const
    {
        EXPECT_EQ(path, expectedPath);
        EXPECT_EQ(fields.handler, handler);
        EXPECT_EQ(fields.moVersion, moVersion);
        EXPECT_EQ(fields.trVersion, trVersion);
    }

    std::string path = "p0";
    ThreeFields fields;
};

TEST_F(ExtractModelFile, SplitsIntoPathHandlerAndVersions)
{
    EXPECT_TRUE(extract("/m/a.xml|handler|2|3"));
    expect("/m/a.xml", "handler", "2", "3");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(ExtractModelFile, KeepsEmptyFields)
{
    EXPECT_TRUE(extract("|||"));
    expect("", "", "", "");
}

TEST_F(ExtractModelFile, KeepsFurtherSeparatorsInTheLastField)
{
    EXPECT_TRUE(extract("p|h|1|2|3"));
    expect("p", "h", "1", "2|3");
}

TEST_F(ExtractModelFile, RepeatsTheVersionWithoutAThirdSeparator)
{
    EXPECT_TRUE(extract("p|h|1"));
    expect("p", "h", "1", "1");
}

TEST_F(ExtractModelFile, RepeatsTheHandlerWithoutASecondSeparator)
{
    EXPECT_TRUE(extract("p|h"));
    expect("p", "h", "h", "h");
}

TEST_F(ExtractModelFile, FailsWithoutASeparator)
{
    EXPECT_FALSE(extract("p"));
    expect("p0", "h0", "m0", "t0");
    EXPECT_EQ(log.messages(), SEPARATOR_MISSING);
    EXPECT_EQ(systemLog.messages(), SEPARATOR_MISSING_SYSTEM_LOG);
}

} // namespace

} // namespace QMT::Test
