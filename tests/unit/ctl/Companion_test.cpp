#include "ctl/Companion.h"

#include "support/FakeInstallation.h"
#include "support/TemporaryFramework.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

namespace QMT::Test
{

namespace
{

using Words = std::vector<std::string>;

const std::string COMMON_OPTIONS =
    "--help          Display this help.\n"
    "--version       Display the version.\n"
    "--json          Answer with one JSON object.\n"
    "--qor-path=DIR  The framework directory; found as qor_mim_tool finds it unless given.\n";
const std::string ACTION_OPTIONS =
    "--add=FILE      Put a model file on the list.\n"
    "--remove=FILE   Take a model file off the list.\n"
    "--handler=NAME  The handler that serves the model of the action before.\n"
    "--mo-version=V  The managed object version of a handler that is new; 1 unless given.\n"
    "--tr-version=V  The transactional resource version of a handler that is new; 1 unless given.\n";
const std::string WAIT_OPTION = "--wait=SECONDS  How long to wait for another caller or session; 0 unless given.\n";

/// Calls of the companion on a temporary framework, to which QORPATH points.
class Companion : public testing::Test
{
protected:
    int run(const Words& words)
    {
        out.str("");
        console.str("");
        return runCompanion(words, out, console);
    }

    /// The call is refused, and the console says why.
    void expectRefused(const Words& words, const std::string& reason)
    {
        EXPECT_EQ(run(words), 2) << reason;
        EXPECT_EQ(out.str(), "");
        EXPECT_EQ(console.str(), "qor_mim_ctl: " + reason + " (see qor_mim_ctl --help)\n");
    }

    TemporaryFramework framework;
    std::ostringstream out;
    std::ostringstream console;
};

// ---- Help and version ----

TEST_F(Companion, ShowsItsVersion)
{
    EXPECT_EQ(run({"--version"}), 0);
    EXPECT_EQ(out.str(), "qor_mim_ctl " QMT_VERSION "\n");
    EXPECT_EQ(run({"recover", "--version", "--json"}), 0);
    EXPECT_EQ(out.str(), "qor_mim_ctl " QMT_VERSION "\n");
    EXPECT_EQ(console.str(), "");
}

TEST_F(Companion, ShowsItsCommandsAndOptions)
{
    EXPECT_EQ(run({"--help"}), 0);

    EXPECT_EQ(out.str(), "usage: qor_mim_ctl COMMAND [OPTION]...\n"
                         "Commands:\n"
                         "  show      Show what is installed, who serves it, and whose session is open.\n"
                         "  check     Look for faults, and suggest a remedy for each.\n"
                         "  plan      Tell what a commit of the open session, or an apply of the actions given, would "
                         "do.\n"
                         "  apply     Add and remove models in one transaction, all or nothing.\n"
                         "  recover   Bring a framework back after a power cut, a kill or a full disk.\n"
                         "\n" +
                             COMMON_OPTIONS);
    EXPECT_EQ(console.str(), "");
}

TEST_F(Companion, ShowsTheHelpOfACommandWithoutOptions)
{
    EXPECT_EQ(run({"show", "--help"}), 0);
    EXPECT_EQ(out.str(), "usage: qor_mim_ctl show [OPTION]...\n"
                         "Show what is installed, who serves it, and whose session is open.\n\n" +
                             COMMON_OPTIONS);
    EXPECT_EQ(run({"check", "--help"}), 0);
    EXPECT_EQ(out.str(), "usage: qor_mim_ctl check [OPTION]...\n"
                         "Look for faults, and suggest a remedy for each.\n\n" +
                             COMMON_OPTIONS);
}

TEST_F(Companion, ShowsTheOptionsOfPlanAndApply)
{
    EXPECT_EQ(run({"plan", "--help"}), 0);
    EXPECT_EQ(out.str(), "usage: qor_mim_ctl plan [OPTION]...\n"
                         "Tell what a commit of the open session, or an apply of the actions given, would do.\n\n" +
                             COMMON_OPTIONS + ACTION_OPTIONS);
    EXPECT_EQ(run({"apply", "--help"}), 0);
    EXPECT_EQ(out.str(), "usage: qor_mim_ctl apply [OPTION]...\n"
                         "Add and remove models in one transaction, all or nothing.\n\n" +
                             COMMON_OPTIONS + ACTION_OPTIONS + WAIT_OPTION);
}

TEST_F(Companion, ShowsTheOptionsOfRecover)
{
    EXPECT_EQ(run({"recover", "--help", "--wait=1"}), 0);

    EXPECT_EQ(out.str(),
              "usage: qor_mim_ctl recover [OPTION]...\n"
              "Bring a framework back after a power cut, a kill or a full disk.\n\n" +
                  COMMON_OPTIONS + "--dry-run       Tell what would be done, and change nothing.\n" + WAIT_OPTION +
                  "--assume=RUN    What was interrupted, where the files do not tell: commit, rollback or nothing.\n"
                  "--force         Recover the session of another host too.\n");
}

// ---- Wrong command lines ----

TEST_F(Companion, RefusesACallWithoutACommand)
{
    expectRefused({}, "A command is missing");
    expectRefused({"--qor-path=/x"}, "A command is missing");
}

TEST_F(Companion, RefusesAnUnknownCommand)
{
    expectRefused({"destroy"}, "There is no command destroy");
    expectRefused({"destroy", "--help"}, "There is no command destroy");
    expectRefused({"de\nstroy"}, "There is no command de\\nstroy");
}

TEST_F(Companion, RefusesAnUnknownOption)
{
    expectRefused({"recover", "--bogus"}, "Unknown option specified: bogus");
    expectRefused({"--bogus"}, "Unknown option specified: bogus");
    expectRefused({"recover", "-x"}, "Unknown option specified: x");
    expectRefused({"recover", "--help", "--bogus"}, "Unknown option specified: bogus");
}

TEST_F(Companion, RefusesAnOptionTwice)
{
    expectRefused({"recover", "--dry-run", "--dry-run"}, "Option must not be given more than once: dry-run");
    expectRefused({"recover", "--wait=1", "--wait=1"}, "Option must not be given more than once: wait");
}

TEST_F(Companion, RefusesAMissingOrEmptyValue)
{
    expectRefused({"recover", "--wait"}, "Missing option argument: wait requires SECONDS");
    expectRefused({"recover", "--wait", "--json=1"}, "Missing option argument: wait requires SECONDS");
    expectRefused({"recover", "--wait", "-1"}, "Missing option argument: wait requires SECONDS");
    expectRefused({"recover", "--wait="}, "The value of --wait is empty");
    expectRefused({"recover", "--wait", ""}, "The value of --wait is empty");
    expectRefused({"recover", "--qor-path="}, "The value of --qor-path is empty");
}

TEST_F(Companion, RefusesAValueForAFlag)
{
    expectRefused({"recover", "--dry-run=1"}, "Unexpected option argument: dry-run=1");
}

TEST_F(Companion, RefusesAnArgumentThatIsNoOption)
{
    expectRefused({"recover", "now"}, "There is no use for the argument now");
    expectRefused({"recover", "--"}, "There is no use for the argument --");
    expectRefused({"recover", "-"}, "There is no use for the argument -");
    expectRefused({"--json:"}, "Unexpected option argument: json:");
}

TEST_F(Companion, RefusesAWrongValue)
{
    for (const std::string value : {"x", "1.5", "+1", "1,0", "1000000"})
    {
        expectRefused({"recover", "--wait=" + value}, "The value of --wait is no number of seconds: " + value);
    }
    expectRefused({"recover", "--assume=Commit"}, "The value of --assume is not commit, rollback or nothing: Commit");
}

TEST_F(Companion, ReportsAWrongCommandLineAsJson)
{
    EXPECT_EQ(run({"--json", "--bogus"}), 2);
    EXPECT_EQ(out.str(), "{\"command\":null,\"framework\":null,\"status\":2,"
                         "\"error\":\"Unknown option specified: bogus (see qor_mim_ctl --help)\"}\n");
    EXPECT_EQ(console.str(), "qor_mim_ctl: Unknown option specified: bogus (see qor_mim_ctl --help)\n");
    EXPECT_EQ(run({"recover", "--bogus", "--json"}), 2);
    EXPECT_EQ(out.str(), "{\"command\":\"recover\",\"framework\":null,\"status\":2,"
                         "\"error\":\"Unknown option specified: bogus (see qor_mim_ctl --help)\"}\n");
}

// ---- The framework ----

TEST_F(Companion, FindsTheFrameworkSilently)
{
    EXPECT_EQ(run({"recover", "--json", "--dry-run"}), 0);
    EXPECT_EQ(out.str(), "{\"command\":\"recover\",\"framework\":\"" + framework.path() +
                             "\",\"status\":0,\"found\":\"nothing\",\"done\":[],\"copy\":null}\n");
    EXPECT_EQ(console.str(), "");
}

TEST_F(Companion, AcceptsAFrameworkWithTrailingSlashes)
{
    const TemporaryFramework other;

    EXPECT_EQ(run({"recover", "--json", "--dry-run", "--qor-path", other.path() + "//"}), 0);
    EXPECT_EQ(out.str(), "{\"command\":\"recover\",\"framework\":\"" + other.path() +
                             "\",\"status\":0,\"found\":\"nothing\",\"done\":[],\"copy\":null}\n");
}

TEST_F(Companion, FailsForAMissingFramework)
{
    EXPECT_EQ(run({"recover", "--qor-path=/no\nwhere/", "--json"}), 4);
    EXPECT_EQ(out.str(), "{\"command\":\"recover\",\"framework\":\"/no\\nwhere\",\"status\":4,"
                         "\"error\":\"File not found: there is no framework directory: /no\\nwhere\"}\n");
    EXPECT_EQ(console.str(), "qor_mim_ctl: File not found: there is no framework directory: /no\\nwhere\n");
}

TEST_F(Companion, FailsForAFrameworkThatIsAFile)
{
    EXPECT_EQ(run({"recover", "--qor-path=" + framework.list()}), 4);
    EXPECT_EQ(console.str(),
              "qor_mim_ctl: File access error: the framework is no directory: " + framework.list() + "\n");
}

TEST_F(Companion, FailsWhenNothingNamesAFramework)
{
    ::unsetenv("QORPATH");
    const FakeInstallation installation;
    installation.setAgent("echo /missing/framework");

    EXPECT_EQ(run({"recover", "--json"}), 4);
    EXPECT_EQ(out.str(), "{\"command\":\"recover\",\"framework\":null,\"status\":4,"
                         "\"error\":\"the framework directory cannot be determined\"}\n");
}

TEST_F(Companion, ReplacesInvalidUtf8InTheAnswer)
{
    run({"recover", "--json", "--qor-path=/\xFF"});

    EXPECT_EQ(out.str(), "{\"command\":\"recover\",\"framework\":\"/\xEF\xBF\xBD\",\"status\":4,"
                         "\"error\":\"File not found: there is no framework directory: /\xEF\xBF\xBD\"}\n");
}

// ---- Output ----

TEST_F(Companion, ReportsAnAnswerThatCannotBeWritten)
{
    for (const Words& words :
         {Words{"--help"}, Words{"--version"}, Words{"recover", "--dry-run"}, Words{"recover", "--dry-run", "--json"}})
    {
        std::ostringstream closed;
        closed.setstate(std::ios::badbit);
        console.str("");

        EXPECT_EQ(runCompanion(words, closed, console), 4);

        EXPECT_EQ(console.str(), "qor_mim_ctl: the answer could not be written\n");
    }
}

TEST_F(Companion, KeepsTheStatusWithoutAnAnswer)
{
    std::ostringstream closed;
    closed.setstate(std::ios::badbit);

    EXPECT_EQ(runCompanion({"recover", "--bogus"}, closed, console), 2);

    EXPECT_EQ(console.str(), "qor_mim_ctl: Unknown option specified: bogus (see qor_mim_ctl --help)\n");
}

} // namespace

} // namespace QMT::Test
