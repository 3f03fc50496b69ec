#include "support/CapturedOutput.h"
#include "support/FailingCall.h"
#include "support/FakeWaitpid.h"
#include "support/ImplTest.h"

#include <Poco/Exception.h>
#include <Poco/Message.h>
#include <Poco/Process.h>

#include <syslog.h>

#include <cerrno>
#include <filesystem>

namespace QMT::Test
{

namespace
{

using Poco::Message;

const Messages NO_TOOL = {{Message::PRIO_WARNING, "Unable to locate model tool."}};
const Messages NO_TOOL_SYSTEM_LOG = {{LOG_WARNING, "Unable to locate Model tool"}};

class Validation : public ImplTest
{
protected:
    /// Makes a validator that runs `script`, a text for the shell.
    void setValidator(const std::string& script)
    {
        const std::string path = framework.file("validator", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        impl.setValidatorPath(path);
    }

    CapturedOutput output;
    std::string message;
};

// ---- verifyModelTool ----

TEST_F(Validation, VerifyModelToolFindsTheValidator)
{
    setValidator("exit 0");

    EXPECT_TRUE(impl.verifyModelTool());

    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(Validation, VerifyModelToolReportsAMissingValidator)
{
    impl.setValidatorPath("/nonexistent/validator");

    EXPECT_FALSE(impl.verifyModelTool());

    EXPECT_EQ(log.messages(), NO_TOOL);
    EXPECT_EQ(systemLog.messages(), NO_TOOL_SYSTEM_LOG);
}

TEST_F(Validation, VerifyModelToolReportsAnEmptyPath)
{
    EXPECT_FALSE(impl.verifyModelTool());

    EXPECT_EQ(log.messages(), NO_TOOL);
    EXPECT_EQ(systemLog.messages(), NO_TOOL_SYSTEM_LOG);
}

// ---- checkModelCfgValidity: true when validation failed ----

TEST_F(Validation, CheckPassesWithoutAValidator)
{
    impl.setValidatorPath("/nonexistent/validator");

    EXPECT_FALSE(impl.checkModelCfgValidity());

    EXPECT_EQ(output.text(), "");
    EXPECT_EQ(log.messages(), NO_TOOL);
    EXPECT_EQ(systemLog.messages(),
              (Messages{{LOG_WARNING, "Unable to locate Model tool"}, {LOG_INFO, "model tool does not exist"}}));
}

TEST_F(Validation, CheckPassesSilentlyWhenAccepted)
{
    setValidator("echo all is well; echo really >&2; exit 0");

    EXPECT_FALSE(impl.checkModelCfgValidity());

    EXPECT_EQ(output.text(), "");
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(Validation, CheckFailsAndPrintsTheReport)
{
    setValidator("echo bad model; echo very bad >&2; exit 1");

    EXPECT_TRUE(impl.checkModelCfgValidity());

    EXPECT_EQ(output.text(), "bad model\nvery bad\n\n\n");
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(Validation, CheckFailsForExitStatus255)
{
    setValidator("exit 255");

    EXPECT_TRUE(impl.checkModelCfgValidity());

    EXPECT_EQ(output.text(), "\n\n");
}

TEST_F(Validation, CheckThrowsWhenForkFails)
{
    setValidator("exit 0");
    const FailingCall fork("fork", "", EAGAIN);

    EXPECT_THROW(static_cast<void>(impl.checkModelCfgValidity()), Poco::SystemException);

    EXPECT_EQ(fork.failures(), 1);
    EXPECT_EQ(output.text(), "");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(Validation, CheckRunsTheValidatorOnTheLiveList)
{
    setValidator("echo $# $*; exit 1");

    EXPECT_TRUE(impl.checkModelCfgValidity());

    EXPECT_EQ(output.text(), "3 -q -c " + framework.list() + "\n\n\n");
}

TEST_F(Validation, CheckKeepsADoubledSlashInTheListsPath)
{
    setValidator("echo $3; exit 1");
    impl.qorPath() = framework.path() + "/";

    EXPECT_TRUE(impl.checkModelCfgValidity());

    EXPECT_EQ(output.text(), framework.path() + "//etc/model/model_file_list.cfg\n\n\n");
}

TEST_F(Validation, CheckFailsWhenASignalEndsTheValidator)
{
    setValidator("echo dying; kill -KILL $$");

    EXPECT_TRUE(impl.checkModelCfgValidity());

    ASSERT_EQ(log.messages().size(), 1U);
    const std::string text = log.messages()[0].second;
    EXPECT_EQ(text.substr(0, text.rfind(' ') + 1), "Abnormal termination for child process: ");
    EXPECT_EQ(output.text(), "dying\n\n" + text + "\n");
}

// ---- wait ----

int start(const std::string& script)
{
    return Poco::Process::launch("/bin/sh", {"-c", script}).id();
}

TEST_F(Validation, WaitReturnsTheExitStatus)
{
    EXPECT_EQ(impl.wait(start("exit 0"), message), 0);
    EXPECT_EQ(impl.wait(start("exit 7"), message), 7);
    EXPECT_EQ(impl.wait(start("exit 255"), message), 255);

    EXPECT_EQ(message, "");
    EXPECT_EQ(log.messages(), SILENCE);
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(Validation, WaitReportsAChildEndedByASignal)
{
    const int pid = start("kill -KILL $$");
    message = "before, ";

    EXPECT_EQ(impl.wait(pid, message), -1);

    const std::string text = "before, Abnormal termination for child process: " + std::to_string(pid);
    EXPECT_EQ(message, text);
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_ERROR, text}}));
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_ERR, "ERROR:" + text}}));
}

TEST_F(Validation, WaitResumesAfterAnInterruption)
{
    const int pid = start("exit 3");
    const FakeWaitpid interrupted({{-1, EINTR, 0}, {-1, EINTR, 0}});

    EXPECT_EQ(impl.wait(pid, message), 3);

    EXPECT_EQ(FakeWaitpid::left(), 0U);
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(Validation, WaitIgnoresErrnoWhenTheChildHasEnded)
{
    const FakeWaitpid answers({{42, EINTR, 5 << 8}, {42, 0, 6 << 8}});

    EXPECT_EQ(impl.wait(42, message), 5);

    EXPECT_EQ(FakeWaitpid::left(), 1U);
}

TEST_F(Validation, WaitReportsAWaitpidFailure)
{
    const FakeWaitpid failing({{-1, EINVAL, 0}});
    message = "before, ";

    EXPECT_EQ(impl.wait(42, message), -1);

    EXPECT_EQ(message, "before, Cannot wait for child process: 42");
    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_ERROR, "before, Cannot wait for child process: 42"}}));
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_ERR, "ERROR:before, Cannot wait for child process: 42"}}));
}

TEST_F(Validation, WaitReportsAnAnswerAboutAnotherChild)
{
    const FakeWaitpid other({{43, 0, 0}});

    EXPECT_EQ(impl.wait(42, message), -1);

    EXPECT_EQ(message, "Cannot wait for child process: 42");
}

TEST_F(Validation, WaitTreatsAMissingChildAsSuccess)
{
    const FakeWaitpid gone({{-1, ECHILD, 0}});

    EXPECT_EQ(impl.wait(42, message), 0);

    EXPECT_EQ(message, "");
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(Validation, WaitReadsAStaleErrno)
{
    const FakeWaitpid other({{43, 0, 0}});
    errno = ECHILD;

    EXPECT_EQ(impl.wait(42, message), 0);
}

} // namespace

} // namespace QMT::Test
