#include "app/CQorModelTool.h"

#include "support/FailingCall.h"
#include "support/FakeInstallation.h"
#include "support/Files.h"
#include "support/ImplTest.h"

#include <Poco/Logger.h>
#include <Poco/Message.h>
#include <Poco/Path.h>

#include <syslog.h>

#include <cerrno>
#include <cstdlib>
#include <type_traits>

namespace QMT::Test
{

namespace
{

using Poco::Message;

const Messages::value_type AGENT_EXCEPTION = {Message::PRIO_INFORMATION, "Exception"};

class Tool : public ImplTest
{
protected:
    Tool()
    {
        impl.qorPath().clear();
    }
};

// ---- Construction and destruction ----

TEST_F(Tool, ConstructorFindsTheFrameworkDirectory)
{
    const CQorModelTool tool(&impl, log.logger());

    EXPECT_EQ(impl.qorPath(), framework.path());
    EXPECT_EQ(log.messages(), (Messages{AGENT_EXCEPTION}));
    EXPECT_EQ(systemLog.messages(), SILENCE);
}

TEST_F(Tool, ConstructorSetsTheFixedValidatorPath)
{
    const FakeInstallation installation;
    installation.setValidator("exit 0");
    const CQorModelTool tool(&impl, log.logger());

    EXPECT_TRUE(impl.verifyModelTool());
}

TEST_F(Tool, ConstructorReportsAMissingFrameworkDirectory)
{
    const FakeInstallation installation;
    installation.setValidator("exit 0");
    installation.setAgent("echo /nonexistent");

    const CQorModelTool tool(&impl, log.logger());

    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_CRITICAL, "Unable to determine QOR path!"}}));
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_WARNING, "Unable to determine QOR path"}}));
    EXPECT_FALSE(impl.verifyModelTool());
}

TEST_F(Tool, ConstructorSkipsTheLockWithoutADirectory)
{
    writeFile(framework.lock(), "this-host");
    writeFile(framework.session(), "0:/m/a.xml\n");
    const FakeInstallation installation;
    installation.setAgent("printf " + framework.path() + "; exit 1");
    installation.setEnvironmentFile("/nonexistent");
    ::unsetenv("QORPATH");
    const FailingCall asked("stat", framework.lock(), EIO);

    const CQorModelTool tool(&impl, log.logger());

    EXPECT_EQ(impl.qorPath(), framework.path());
    EXPECT_EQ(asked.failures(), 0);
    EXPECT_TRUE(impl.queue().empty());
}

TEST_F(Tool, ConstructorWithADirectoryLooksNothingUp)
{
    writeFile(framework.lock(), "this-host");
    writeFile(framework.session(), "0:/m/a.xml\n");
    const FakeInstallation installation;
    installation.setValidator("exit 0");

    const CQorModelTool tool(&impl, log.logger(), framework.path());

    EXPECT_EQ(impl.qorPath(), framework.path());
    EXPECT_TRUE(impl.queue().empty());
    EXPECT_TRUE(impl.verifyModelTool());
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(Tool, ConstructorLoadsThisHostsQueue)
{
    writeFile(framework.lock(), "this-host\n");
    writeFile(framework.session(), "0:/m/a.xml\n");

    const CQorModelTool tool(&impl, log.logger());

    EXPECT_EQ(impl.queue(), (CommandQueue{{CmdID::AddModelFile, "/m/a.xml"}}));
}

TEST_F(Tool, ConstructorSkipsAnotherHostsQueue)
{
    writeFile(framework.lock(), "other-host");
    writeFile(framework.session(), "0:/m/a.xml\n");

    const CQorModelTool tool(&impl, log.logger());

    EXPECT_TRUE(impl.queue().empty());
}

TEST_F(Tool, ConstructorSkipsASessionFileWithoutALock)
{
    writeFile(framework.session(), "0:/m/a.xml\n");

    const CQorModelTool tool(&impl, log.logger());

    EXPECT_TRUE(impl.queue().empty());
    EXPECT_EQ(log.messages(), (Messages{AGENT_EXCEPTION}));
}

TEST_F(Tool, DestructorDestroysTheLogger)
{
    {
        const CQorModelTool tool(&impl, log.logger());
        EXPECT_NE(Poco::Logger::has("ConsoleLogger"), nullptr);
    }
    EXPECT_EQ(Poco::Logger::has("ConsoleLogger"), nullptr);
}

TEST_F(Tool, DestructorIsVirtualAndCopiesAreDeleted)
{
    static_assert(std::has_virtual_destructor_v<CQorModelTool>);
    static_assert(!std::is_copy_constructible_v<CQorModelTool> && !std::is_move_constructible_v<CQorModelTool>);
}

// ---- Accessors ----

TEST_F(Tool, LoggerReturnsTheConstructorsLogger)
{
    const CQorModelTool tool(&impl, log.logger());

    EXPECT_EQ(tool.logger(), log.logger());
}

TEST_F(Tool, GetQorPathReturnsTheFrameworkDirectory)
{
    const CQorModelTool tool(&impl, log.logger());
    Poco::Path path("/before");

    tool.getQorPath(path);

    EXPECT_EQ(path.toString(), framework.path());
}

TEST_F(Tool, GetComponentNameReturnsTheHandler)
{
    const CQorModelTool tool(&impl, log.logger());
    impl.componentName() = "h";
    std::string name = "before";

    tool.getComponentName(name);

    EXPECT_EQ(name, "h");
}

// ---- isLockWithCurrentHost ----

class IsLockWithCurrentHost : public Tool
{
protected:
    IsLockWithCurrentHost() : tool(&impl, log.logger())
    {
        log.clear();
    }

    bool isOursWith(const std::string& content)
    {
        writeFile(framework.lock(), content);
        return tool.isLockWithCurrentHost();
    }

    CQorModelTool tool;
};

TEST_F(IsLockWithCurrentHost, IsTrueForTheExactName)
{
    EXPECT_TRUE(isOursWith("this-host"));
    EXPECT_TRUE(isOursWith("this-host\n"));
    EXPECT_TRUE(isOursWith(" this-host and more"));
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(IsLockWithCurrentHost, IsFalseForAnyOtherName)
{
    EXPECT_FALSE(isOursWith("other-host"));
    EXPECT_FALSE(isOursWith("This-host"));
    EXPECT_FALSE(isOursWith("this-hos"));
    EXPECT_FALSE(isOursWith("this-host.domain"));
    EXPECT_EQ(log.messages(), SILENCE);
}

TEST_F(IsLockWithCurrentHost, IsFalseForAnEmptyLockFile)
{
    EXPECT_FALSE(isOursWith(""));
}

TEST_F(IsLockWithCurrentHost, IsFalseWithoutALockFile)
{
    EXPECT_FALSE(tool.isLockWithCurrentHost());

    EXPECT_EQ(log.messages(), (Messages{{Message::PRIO_WARNING, "Unable to find hostname"}}));
    EXPECT_EQ(systemLog.messages(), (Messages{{LOG_WARNING, "Unable to find hostname"}}));
}

} // namespace

} // namespace QMT::Test
