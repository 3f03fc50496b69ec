#include "support/FailingCall.h"
#include "support/FakeInstallation.h"
#include "support/Files.h"
#include "support/ImplTest.h"

#include <Poco/Exception.h>
#include <Poco/Message.h>

#include <syslog.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>

namespace QMT::Test
{

namespace
{

using Poco::Message;
using QorEa = CQorModelToolImpl::QorEa;

const Messages AGENT_FAILED = {{Message::PRIO_INFORMATION, "Exception"}};

Messages operator+(Messages first, const Messages& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Messages usingPath(const std::string& path)
{
    return {{Message::PRIO_INFORMATION, "Using QOR path: " + path}};
}

class Environment : public ImplTest
{
protected:
    Environment()
    {
        ::unsetenv("QORPATH");
    }

    std::optional<FakeInstallation> installation{std::in_place};
    std::string dir = "as it was";
};

// ---- QorEa ----

TEST_F(Environment, SerializeJoinsWithSingleBlanks)
{
    EXPECT_EQ(QorEa().serialize({"pso", "config", ""}), "pso config ");
    EXPECT_EQ(QorEa().serialize({"pso"}), "pso");
    EXPECT_EQ(QorEa().serialize({}), "");
}

TEST_F(Environment, AgentRunsWithPsoConfig)
{
    installation->setAgent("echo \"$0 $# $*\"");
    std::string answer;

    QorEa().getEnvDir(answer);

    EXPECT_EQ(answer, installation->path("qorea/bin/qorea") + " 2 pso config");
}

TEST_F(Environment, AgentAnswerLosesTrailingBlanksTabsAndNewlines)
{
    installation->setAgent("printf ' /a b\\n\\t \\n'");
    std::string answer;

    QorEa().getEnvDir(answer);

    EXPECT_EQ(answer, " /a b");
}

TEST_F(Environment, AgentAnswerKeepsATrailingCarriageReturn)
{
    installation->setAgent("printf '/a\\r\\n'");
    std::string answer;

    QorEa().getEnvDir(answer);

    EXPECT_EQ(answer, "/a\r");
}

TEST_F(Environment, AgentAnswerKeepsOtherTrailingCharacters)
{
    installation->setAgent("printf '/a~\\n'");
    std::string answer;

    QorEa().getEnvDir(answer);

    EXPECT_EQ(answer, "/a~");
}

TEST_F(Environment, AgentAnswerOfBlanksStaysWhole)
{
    installation->setAgent("printf ' \\t\\n'");
    std::string answer;

    QorEa().getEnvDir(answer);

    EXPECT_EQ(answer, " \t\n");
}

TEST_F(Environment, AgentAnswerIncludesStandardError)
{
    installation->setAgent("printf /a; printf b >&2");
    std::string answer;

    QorEa().getEnvDir(answer);

    EXPECT_EQ(answer, "/ab");
}

TEST_F(Environment, AgentFailureThrowsAndKeepsTheOutput)
{
    installation->setAgent("echo sorry; exit 9");
    std::string answer;
    try
    {
        QorEa().getEnvDir(answer);
        FAIL();
    }
    catch (const Poco::Exception& exc)
    {
        EXPECT_EQ(exc.message(), "Failed to invoke: qorea %s, retval %d: pso config");
        EXPECT_EQ(exc.code(), 9);
    }
    EXPECT_EQ(answer, "sorry\n");
}

TEST_F(Environment, AgentThatIsMissingThrows)
{
    std::string answer;

    EXPECT_THROW(QorEa().getEnvDir(answer), Poco::Exception);
}

// ---- getEnvDir ----

TEST_F(Environment, GetEnvDirPrefersTheAgent)
{
    installation->setAgent("echo " + framework.path());
    installation->setEnvironmentFile("/\n");
    ::setenv("QORPATH", "/elsewhere", 1);
    dir.clear();

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, framework.path());
    EXPECT_EQ(log.messages(), usingPath(framework.path()));
}

TEST_F(Environment, GetEnvDirFailsForAMissingDirectoryOfTheAgent)
{
    installation->setAgent("echo /nonexistent");
    installation->setEnvironmentFile(framework.path() + "\n");
    ::setenv("QORPATH", framework.path().c_str(), 1);
    dir.clear();

    EXPECT_FALSE(impl.getEnvDir(dir));

    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(Environment, GetEnvDirSkipsASilentAgent)
{
    installation->setAgent("true");
    ::setenv("QORPATH", "/elsewhere", 1);
    dir.clear();

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, "/elsewhere");
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_INFORMATION, "Assertion violation"}}));
}

TEST_F(Environment, GetEnvDirFailsForAnAgentAnswerOfBlanks)
{
    installation->setAgent("echo; echo ' '");
    ::setenv("QORPATH", "/elsewhere", 1);
    dir.clear();

    EXPECT_FALSE(impl.getEnvDir(dir));
}

TEST_F(Environment, GetEnvDirUsesQorpathUnchecked)
{
    installation->setAgent("echo /; exit 1");
    ::setenv("QORPATH", "/nonexistent/framework", 1);

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, "/nonexistent/framework");
    EXPECT_EQ(log.messages(), AGENT_FAILED);
}

TEST_F(Environment, GetEnvDirAcceptsAnEmptyQorpath)
{
    ::setenv("QORPATH", "", 1);

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, "");
    EXPECT_EQ(log.messages(), AGENT_FAILED);
}

TEST_F(Environment, GetEnvDirPrefersQorpathToTheFile)
{
    installation->setEnvironmentFile("/\n");
    ::setenv("QORPATH", "/elsewhere", 1);

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, "/elsewhere");
}

TEST_F(Environment, GetEnvDirUsesTheFirstLineOfTheFile)
{
    installation->setEnvironmentFile(framework.path() + "\n/second\n");

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, framework.path());
    EXPECT_EQ(log.messages(), AGENT_FAILED + usingPath(framework.path()));
}

TEST_F(Environment, GetEnvDirReadsAFileWithoutANewline)
{
    installation->setEnvironmentFile(framework.path());

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, framework.path());
}

TEST_F(Environment, GetEnvDirFailsForAMissingDirectoryInTheFile)
{
    installation->setEnvironmentFile("/nonexistent\n");

    EXPECT_FALSE(impl.getEnvDir(dir));

    EXPECT_EQ(log.messages(), AGENT_FAILED);
}

TEST_F(Environment, GetEnvDirKeepsTheDirectoryForAnEmptyFile)
{
    installation->setEnvironmentFile("");
    dir.clear();

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, "");
    EXPECT_EQ(log.messages(), AGENT_FAILED);
}

TEST_F(Environment, GetEnvDirKeepsAgentOutputForAnEmptyFirstLine)
{
    installation->setAgent("echo /said; exit 1");
    installation->setEnvironmentFile("\n/second\n");
    dir.clear();

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, "/said\n");
    EXPECT_EQ(log.messages(), AGENT_FAILED);
}

TEST_F(Environment, GetEnvDirReadsALineOf255Characters)
{
    const std::string name = framework.path() + std::string(255 - framework.path().size(), '/');
    installation->setEnvironmentFile(name + "\n");

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, name);
}

TEST_F(Environment, GetEnvDirTruncatesALongerLine)
{
    const std::string name = framework.path() + std::string(255 - framework.path().size(), '/');
    installation->setEnvironmentFile(name + "nonexistent\n");

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, name);
}

TEST_F(Environment, GetEnvDirFailsWhenTheFileCannotBeOpened)
{
    putSocketAt(installation->path("qor.env"));

    EXPECT_FALSE(impl.getEnvDir(dir));

    EXPECT_EQ(log.messages(), AGENT_FAILED);
}

TEST_F(Environment, GetEnvDirTreatsALinkLoopAsNoFile)
{
    putLoopAt(installation->path("qor.env"));

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, "/opt/qor/");
}

TEST_F(Environment, GetEnvDirFailsWhenTheFileIsADirectory)
{
    putDirectoryAt(installation->path("qor.env"));

    EXPECT_FALSE(impl.getEnvDir(dir));

    EXPECT_EQ(log.messages(), AGENT_FAILED);
}

TEST_F(Environment, GetEnvDirFailsWhenTheFileIsAPipe)
{
    putPipeAt(installation->path("qor.env"));

    EXPECT_FALSE(impl.getEnvDir(dir));

    EXPECT_EQ(log.messages(), AGENT_FAILED);
}

TEST_F(Environment, GetEnvDirFailsWhenTheFileCannotBeRead)
{
    writeFile(installation->path("qor.env"), framework.path());
    const FailingCall unreadable("read", installation->path("qor.env"), EIO);

    EXPECT_FALSE(impl.getEnvDir(dir));

    EXPECT_EQ(log.messages(), AGENT_FAILED);
}

TEST_F(Environment, GetEnvDirPassesOnExceptionsOfOtherKinds)
{
#ifdef __arm__
    GTEST_SKIP() << "an exception cannot leave a C function on this architecture";
#endif
    installation->setAgent("echo " + framework.path());
    dir.clear();
    const FailingCall failing("stat", framework.path(), FailingCall::THROWS);

    EXPECT_THROW(static_cast<void>(impl.getEnvDir(dir)), std::runtime_error);

    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(Environment, GetEnvDirFallsBackToTheDefault)
{
    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, "/opt/qor/");
    EXPECT_EQ(log.messages(), AGENT_FAILED + usingPath("/opt/qor/"));
}

TEST_F(Environment, GetEnvDirFailsWithoutTheDefaultDirectory)
{
    installation.reset();

    EXPECT_FALSE(impl.getEnvDir(dir));

    EXPECT_EQ(log.messages(), AGENT_FAILED);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(Environment, GetEnvDirAcceptsAFileWithATrailingSlash)
{
    installation->setAgent("printf " + framework.file("file", "") + "/");
    dir.clear();

    EXPECT_TRUE(impl.getEnvDir(dir));

    EXPECT_EQ(dir, framework.path() + "/models/file/");
}

// ---- validateEnvironment ----

TEST_F(Environment, ValidateKeepsAnExistingModelDirectory)
{
    EXPECT_TRUE(impl.validateEnvironment());

    EXPECT_TRUE(exists(framework.list()));
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(Environment, ValidateCreatesTheModelDirectoryWithParents)
{
    impl.qorPath() = framework.path() + "/new/framework";

    EXPECT_TRUE(impl.validateEnvironment());

    EXPECT_TRUE(std::filesystem::is_directory(framework.path() + "/new/framework/etc/model"));
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(Environment, ValidateFailsForAFileInPlaceOfAParent)
{
    impl.qorPath() = framework.file("file", "");

    EXPECT_FALSE(impl.validateEnvironment());

    const std::string reason = "not a directory: " + framework.path() + "/models/file/etc";
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_WARNING, "Unable to create directory structure: " + reason}}));
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_WARNING, "unable to create directory structure " + reason}}));
}

TEST_F(Environment, ValidateFailsForAFileInPlaceOfTheDirectory)
{
    impl.qorPath() = framework.path() + "/other";
    std::filesystem::create_directories(impl.qorPath() + "/etc");
    writeFile(impl.qorPath() + "/etc/model", "");

    EXPECT_FALSE(impl.validateEnvironment());

    const std::string path = impl.qorPath() + "/etc/model/";
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_WARNING, "Unable to create directory structure: " + path}}));
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_WARNING, "unable to create directory structure " + path}}));
}

TEST_F(Environment, ValidateReportsTheFirstPathThatIsTooLong)
{
    std::string longest = framework.path();
    while (longest.size() + 201 < PATH_MAX)
    {
        longest += "/" + std::string(200, 'x');
    }
    impl.qorPath() = longest + "/" + std::string(200, 'y') + "/z";

    EXPECT_FALSE(impl.validateEnvironment());

    const std::string path = longest + "/" + std::string(200, 'y');
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_WARNING, "Unable to create directory structure: " + path}}));
}

TEST_F(Environment, ValidateCreatesADirectoryOfTheLongestPath)
{
    const std::string tail = "/etc/model";
    impl.qorPath() = framework.path();
    while (impl.qorPath().size() + tail.size() < PATH_MAX - 1)
    {
        const std::size_t left = PATH_MAX - 1 - tail.size() - impl.qorPath().size();
        impl.qorPath() += "/" + std::string(left > 300 ? 200 : left - 1, 'x');
    }

    EXPECT_TRUE(impl.validateEnvironment());

    EXPECT_EQ((impl.qorPath() + tail).size(), PATH_MAX - 1U);
    EXPECT_TRUE(std::filesystem::is_directory(impl.qorPath() + tail));
}

TEST_F(Environment, ValidateDoesNotTryThousandsOfParents)
{
    impl.qorPath() = framework.path();
    for (int i = 0; i < 50000; ++i)
    {
        impl.qorPath() += "/x";
    }

    EXPECT_FALSE(impl.validateEnvironment());
}

} // namespace

} // namespace QMT::Test
