#include "ctl/CRemedies.h"

#include "support/FakeInstallation.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"
#include "support/TemporaryFramework.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

TEST(Remedies, CallEditAndCommandArePlainWithoutASession)
{
    const TemporaryFramework framework;
    CRemedies remedies(framework.path());

    EXPECT_EQ(remedies.call("recover"), "qor_mim_ctl recover");
    EXPECT_EQ(remedies.edit("/f/list", "remove it"), "in /f/list, remove it");
    EXPECT_EQ(remedies.command("/f/list", "echo >>/f/list"), "echo >>/f/list");
}

TEST(Remedies, KeepEqualAddsTheWorkingCopy)
{
    CRemedies remedies("/f");
    remedies.keepEqual("/f/l", "/f/l.tmp");

    EXPECT_EQ(remedies.edit("/f/l", "remove it"), "in /f/l, remove it; then, for the open session: cp /f/l /f/l.tmp");
    EXPECT_EQ(remedies.command("/f/l", "echo >>/f/l"), "echo >>/f/l && cp /f/l /f/l.tmp");
    EXPECT_EQ(remedies.edit("/f/m", "remove it"), "in /f/m, remove it");
}

TEST(Remedies, CallNamesAFrameworkThatWouldNotBeFound)
{
    const TemporaryFramework framework;
    CRemedies remedies("/my framework");

    EXPECT_EQ(remedies.call("recover"), "qor_mim_ctl recover --qor-path='/my framework'");
}

TEST(Remedies, CommitNamesAFrameworkThatTheToolWouldNotFind)
{
    const TemporaryFramework framework;

    EXPECT_EQ(CRemedies(framework.path()).commit(), "qor_mim_tool --commit");
    EXPECT_EQ(CRemedies("/my framework").commit(), "qor_mim_tool --commit, called so that it works on /my framework");
}

TEST(Remedies, CallAsksTheAgentOnce)
{
    const FakeInstallation installation;
    const TemporaryDirectory scratch;
    installation.setAgent("echo run >>" + scratch.path("runs") + "; echo " + scratch.path());
    CRemedies remedies(scratch.path());

    EXPECT_EQ(remedies.call("a"), "qor_mim_ctl a");
    EXPECT_EQ(remedies.call("b"), "qor_mim_ctl b");

    EXPECT_EQ(readFile(scratch.path("runs")), "run\n");
}

TEST(ShellWord, QuotesUnlessAllCharactersAreSafe)
{
    EXPECT_EQ(shellWord("/opt/qor/etc/a_b-C.1%+=:,@"), "/opt/qor/etc/a_b-C.1%+=:,@");
    EXPECT_EQ(shellWord(""), "''");
    EXPECT_EQ(shellWord("a b"), "'a b'");
    EXPECT_EQ(shellWord("a'$b"), "'a'\\''$b'");
    EXPECT_EQ(shellWord("\xC3\xA4"), "'\xC3\xA4'");
    for (const char special : std::string("~!\"#$&()*;<>?[\\]^`{|}"))
    {
        EXPECT_EQ(shellWord(std::string(1, special)), std::string("'") + special + "'");
    }
}

} // namespace

} // namespace QMT::Test
