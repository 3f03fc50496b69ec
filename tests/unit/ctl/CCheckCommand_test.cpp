#include "ctl/CCheckCommand.h"

#include "ctl/Companion.h"
#include "support/FakeInstallation.h"
#include "support/Files.h"
#include "support/LockHolder.h"
#include "support/TemporaryFramework.h"

#include <gtest/gtest.h>

#include <sstream>

namespace QMT::Test
{

namespace
{

class CheckCommand : public testing::Test
{
protected:
    CheckCommand()
    {
        installation.setAgent("echo " + framework.path());
        installation.setValidator("exit 0");
    }

    int run(const std::vector<std::string>& words)
    {
        return runCompanion(words, out, console);
    }

    std::string head(int status) const
    {
        return R"({"command":"check","framework":")" + framework.path() + R"(","status":)" + std::to_string(status);
    }

    TemporaryFramework framework;
    FakeInstallation installation;
    std::ostringstream out;
    std::ostringstream console;
};

TEST_F(CheckCommand, FindsNothingInANewFramework)
{
    EXPECT_EQ(run({"check", "--json"}), 0);

    EXPECT_EQ(out.str(), head(0) + R"(,"findings":[]})" + "\n");
    EXPECT_EQ(console.str(), "");
}

TEST_F(CheckCommand, ReportsNoFindingsAsText)
{
    EXPECT_EQ(run({"check"}), 0);

    EXPECT_EQ(out.str(), "no findings\n");
}

TEST_F(CheckCommand, SucceedsWithWarningsAlone)
{
    writeFile(framework.list(".tmp"), "");

    EXPECT_EQ(run({"check", "--json"}), 0);

    EXPECT_EQ(out.str(), head(0) + R"(,"findings":[{"id":"session-leftover","severity":"warning","file":")" +
                             framework.list(".tmp") +
                             R"(","text":"the file belongs to no session","remedy":"qor_mim_ctl recover"}]})" + "\n");
}

TEST_F(CheckCommand, ReportsEveryFindingWithItsRemedy)
{
    writeFile(framework.list(), "a\x1b");
    writeFile(framework.lock(), "qor_mim_ctl@" + std::string("x"));

    EXPECT_EQ(run({"check"}), 1);

    const std::string recover = "on the host x: qor_mim_ctl recover";
    EXPECT_EQ(out.str(), "error: a\\x1b: the path is not absolute [model-relative]\n  remedy: " + recover +
                             "; then, if it is still there: in " + framework.list() +
                             ", write the absolute path in its line\nerror: " + framework.list() +
                             ": the last line has no line feed [list-end]\n  remedy: " + recover +
                             "; then, if it is still there: echo >>" + framework.list() +
                             "\nerror: a commit was interrupted, unless one is running just now "
                             "[commit-interrupted]\n  remedy: " +
                             recover + "\n");
}

TEST_F(CheckCommand, ReportsAnInterruptionWithoutAFile)
{
    writeFile(framework.lock(), "qor_mim_ctl@" + std::string("x"));

    EXPECT_EQ(run({"check", "--json"}), 1);

    EXPECT_EQ(out.str(), head(1) + R"(,"findings":[{"id":"commit-interrupted","severity":"error","file":null,)"
                                   R"("text":"a commit was interrupted, unless one is running just now",)"
                                   R"("remedy":"on the host x: qor_mim_ctl recover"}]})"
                                   "\n");
}

TEST_F(CheckCommand, FailsForAnUnreadableFile)
{
    putDirectoryAt(framework.session());

    EXPECT_EQ(run({"check", "--json"}), 4);

    EXPECT_EQ(out.str(),
              head(4) + R"(,"error":"File access error: the file cannot be read: )" + framework.session() + "\"}\n");
    EXPECT_EQ(console.str(), "qor_mim_ctl: File access error: the file cannot be read: " + framework.session() + "\n");
}

TEST_F(CheckCommand, IsBusyWhileAnotherCallerHoldsTheLock)
{
    const LockHolder holder(framework.callerLock());

    EXPECT_EQ(run({"check", "--json"}), 3);

    EXPECT_EQ(out.str(), head(3) + R"(,"error":")" + holder.message() + "\"}\n");
}

} // namespace

} // namespace QMT::Test
