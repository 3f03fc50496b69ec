#include "ctl/CFrameworkCheck.h"

#include "ctl/SessionOwner.h"
#include "support/FakeHostName.h"
#include "support/FakeInstallation.h"
#include "support/Files.h"
#include "support/Findings.h"
#include "support/TemporaryFramework.h"

#include <Poco/Exception.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>

namespace QMT::Test
{

namespace
{

using Findings = std::vector<Finding>;
using std::filesystem::perms;

const std::string RECOVER = "qor_mim_ctl recover";

std::string configurationWith(const std::string& rootClass)
{
    return "<qor><participants><participant><roots><root name=\"" + rootClass +
           "\"/></roots><managedObject compName=\"h\"/></participant></participants></qor>\n";
}

/// A sound framework with one model, its root class served, seen from the host alpha.
class FrameworkCheck : public testing::Test
{
protected:
    FrameworkCheck()
        : configuration(framework.configuration()), list(framework.list()), session(framework.session()),
          lock(framework.lock()), model(framework.model("pump.xml", "Pump"))
    {
        installation.setAgent("echo " + framework.path());
        installation.setValidator("exit 0");
        writeFile(configuration, configurationWith("Pump"));
        writeFile(list, model + "\n");
    }

    void givenSession(const std::string& queue, const std::string& host = "alpha")
    {
        framework.openSession(queue, host);
    }

    Findings find()
    {
        return CFrameworkCheck(framework.path()).findAll();
    }

    TemporaryFramework framework;
    FakeInstallation installation;
    FakeHostName hostName{"alpha"};
    const std::string configuration;
    const std::string list;
    const std::string session;
    const std::string lock;
    const std::string model;
};

TEST_F(FrameworkCheck, FindsNothingInASoundFramework)
{
    EXPECT_EQ(find(), NO_FINDING);
}

TEST_F(FrameworkCheck, FindsNothingInASession)
{
    givenSession("2:" + model + "\n");

    EXPECT_EQ(find(), NO_FINDING);
}

TEST_F(FrameworkCheck, FindsNothingAfterACommit)
{
    writeFile(configuration + ".bak", configurationWith("Pump"));
    writeFile(list + ".bak", "");

    EXPECT_EQ(find(), NO_FINDING);
}

// ---- The installation ----

TEST_F(FrameworkCheck, FindsMissingPrograms)
{
    std::filesystem::remove(installation.path("qorea/bin/qorea"));
    std::filesystem::remove(installation.path("bin/pel_model_validator"));
    std::filesystem::create_directory(installation.path("bin/pel_model_validator"));

    EXPECT_EQ(find(), (Findings{{FindingId::AGENT_MISSING, "/opt/qor/qorea/bin/qorea",
                                 "the framework agent does not exist", "install the framework agent there"},
                                {FindingId::VALIDATOR_MISSING, "/opt/qor/bin/pel_model_validator",
                                 "the model validator does not exist", "install the model validator there"}}));
}

TEST_F(FrameworkCheck, FindsProgramsThatCannotBeExecuted)
{
    std::filesystem::permissions(installation.path("qorea/bin/qorea"), perms::owner_read);
    std::filesystem::permissions(installation.path("bin/pel_model_validator"), perms::owner_read);

    EXPECT_EQ(find(),
              (Findings{{FindingId::AGENT_MISSING, "/opt/qor/qorea/bin/qorea", "the framework agent cannot be executed",
                         "chmod a+x /opt/qor/qorea/bin/qorea"},
                        {FindingId::VALIDATOR_MISSING, "/opt/qor/bin/pel_model_validator",
                         "the model validator cannot be executed", "chmod a+x /opt/qor/bin/pel_model_validator"}}));
}

// ---- Live files ----

TEST_F(FrameworkCheck, FindsMissingLiveFiles)
{
    std::filesystem::remove(configuration);
    std::filesystem::remove(list);

    EXPECT_EQ(find(), (Findings{{FindingId::CONFIGURATION_MISSING, configuration, "the file does not exist",
                                 "put it back from a copy of yours"},
                                {FindingId::LIST_MISSING, list, "the file does not exist",
                                 "put it back from a copy of yours"}}));
}

TEST_F(FrameworkCheck, SuggestsRecoverForAMissingList)
{
    writeFile(configuration + ".bak", configurationWith("Old"));
    writeFile(list + ".bak", "");
    std::filesystem::remove(list);

    EXPECT_EQ(find(), (Findings{{FindingId::LIST_MISSING, list, "the file does not exist", RECOVER},
                                {FindingId::ROLLBACK_INTERRUPTED, std::nullopt,
                                 "a rollback was interrupted, unless one is running just now", RECOVER}}));
}

TEST_F(FrameworkCheck, SuggestsAssumeRollbackForAMissingDocument)
{
    writeFile(configuration + ".bak", configurationWith("Pump"));
    writeFile(list + ".bak", "");
    std::filesystem::remove(configuration);

    EXPECT_EQ(find(), (Findings{{FindingId::CONFIGURATION_MISSING, configuration, "the file does not exist",
                                 RECOVER + " --assume=rollback"}}));
}

TEST_F(FrameworkCheck, SuggestsTheBackupBesideAnUnreadableList)
{
    std::filesystem::rename(configuration, configuration + ".bak");
    putDirectoryAt(list);

    EXPECT_EQ(find(), (Findings{{FindingId::CONFIGURATION_MISSING, configuration, "the file does not exist",
                                 "cp -p " + configuration + ".bak " + configuration},
                                {FindingId::LIST_UNREADABLE, list, "the file cannot be read",
                                 "make it a file that the caller may read"}}));
}

TEST_F(FrameworkCheck, FindsLiveFilesThatCannotBeRead)
{
    putDirectoryAt(configuration);
    putDirectoryAt(list);

    EXPECT_EQ(find(), (Findings{{FindingId::CONFIGURATION_UNREADABLE, configuration, "the file cannot be read",
                                 "make it a file that the caller may read"},
                                {FindingId::LIST_UNREADABLE, list, "the file cannot be read",
                                 "make it a file that the caller may read"}}));
}

TEST_F(FrameworkCheck, FindsAnInvalidSessionBesideAnUnreadableList)
{
    givenSession("x\n");
    putDirectoryAt(list);

    EXPECT_EQ(find(), (Findings{{FindingId::LIST_UNREADABLE, list, "the file cannot be read",
                                 "make it a file that the caller may read"},
                                {FindingId::SESSION_INVALID, session, "the session file cannot be parsed",
                                 "mv " + session + " " + session + ".invalid && " + RECOVER}}));
}

TEST_F(FrameworkCheck, FindsADocumentThatCannotBeParsed)
{
    writeFile(configuration, "<qor>");

    EXPECT_EQ(find(), (Findings{{FindingId::CONFIGURATION_UNREADABLE, configuration, "the document cannot be parsed",
                                 "in " + configuration + ", correct what is not well-formed"}}));
}

TEST_F(FrameworkCheck, SuggestsTheBackupForABrokenDocument)
{
    givenSession("2:" + model + "\n");
    writeFile(configuration, "<edited>");
    writeFile(configuration + ".tmp", "<edited>");
    writeFile(configuration + ".bak", configurationWith("Pump"));
    writeFile(list + ".bak", "");

    const Findings found = find();

    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].id, FindingId::CONFIGURATION_UNREADABLE);
    EXPECT_EQ(found[0].remedy, "cp -p " + configuration + " " + configuration + ".broken && cp " + configuration +
                                   ".bak " + configuration + " && cp " + configuration + " " + configuration + ".tmp");
}

TEST_F(FrameworkCheck, FindsFaultsInDocumentAndList)
{
    writeFile(configuration, configurationWith("Other"));
    writeFile(list, model);

    EXPECT_EQ(find(),
              (Findings{{FindingId::ROOT_UNLISTED, configuration,
                         "no listed model file has the root class Other, which is served by h",
                         "qor_mim_ctl apply --add=FILE for the model file that has it; or, if it has gone, in " +
                             configuration + ", remove its root entry"},
                        {FindingId::LIST_END, list, "the last line has no line feed", "echo >>" + list}}));
}

TEST_F(FrameworkCheck, SuggestsCopyingAnEditToTheWorkingCopy)
{
    writeFile(list, model);
    givenSession("2:" + model + "\n");

    EXPECT_EQ(find(), (Findings{{FindingId::LIST_END, list, "the last line has no line feed",
                                 "echo >>" + list + " && cp " + list + " " + list + ".tmp"}}));
}

// ---- The session ----

TEST_F(FrameworkCheck, FindsASessionOfAnotherHost)
{
    givenSession("2:" + model + "\n", "beta");

    EXPECT_EQ(find(), (Findings{{FindingId::SESSION_FOREIGN, lock, "the host beta has a session open",
                                 "on the host beta: qor_mim_tool --commit"}}));
}

TEST_F(FrameworkCheck, FindsAnApplyOfAnotherHostBesideAnUnreadableList)
{
    givenSession("2:" + model + "\n", applyLockContent("beta"));
    putDirectoryAt(list);

    EXPECT_EQ(find(), (Findings{{FindingId::LIST_UNREADABLE, list, "the file cannot be read",
                                 "make it a file that the caller may read"},
                                {FindingId::SESSION_FOREIGN, lock, "the host beta has a session open",
                                 "on the host beta: " + RECOVER}}));
}

TEST_F(FrameworkCheck, FindsALockFileAlone)
{
    writeFile(lock, "alpha");

    EXPECT_EQ(find(),
              (Findings{{FindingId::SESSION_STALE, lock, "there is a lock file and no session file", RECOVER}}));
}

TEST_F(FrameworkCheck, FindsALockFileAloneBesideOlderBackups)
{
    writeFile(configuration + ".bak", configurationWith("Old"));
    writeFile(list + ".bak", "");
    writeFile(lock, "alpha");

    EXPECT_EQ(find(),
              (Findings{{FindingId::SESSION_STALE, lock, "there is a lock file and no session file", RECOVER}}));
}

TEST_F(FrameworkCheck, SuggestsAssumeNothingForALoneLockFile)
{
    writeFile(configuration + ".bak", configurationWith("Old"));
    writeFile(list + ".bak", "");
    writeFile(lock, "alpha");
    installation.setValidator("exit 1");

    EXPECT_EQ(find(), (Findings{{FindingId::SESSION_STALE, lock, "there is a lock file and no session file",
                                 RECOVER + " --assume=nothing"}}));
}

TEST_F(FrameworkCheck, FindsALockFileAloneOfAnotherHost)
{
    writeFile(lock, "beta");

    const std::string remedy = "on the host beta: " + RECOVER;
    EXPECT_EQ(find(), (Findings{{FindingId::SESSION_FOREIGN, lock, "the host beta has a session open", remedy},
                                {FindingId::SESSION_STALE, lock, "there is a lock file and no session file", remedy}}));
}

TEST_F(FrameworkCheck, SuggestsRecoverOnceTheLiveFilesAreThere)
{
    const std::string mending = "put it back from a copy of yours";
    std::filesystem::remove(configuration);
    std::filesystem::remove(list);
    writeFile(lock, "alpha");

    EXPECT_EQ(find(), (Findings{{FindingId::CONFIGURATION_MISSING, configuration, "the file does not exist", mending},
                                {FindingId::LIST_MISSING, list, "the file does not exist", mending},
                                {FindingId::SESSION_STALE, lock, "there is a lock file and no session file",
                                 "for " + configuration + ": " + mending + "; then: for " + list + ": " + mending +
                                     "; then: " + RECOVER}}));
}

TEST_F(FrameworkCheck, SuggestsRecoverOnceTheLiveFilesAreReadable)
{
    const std::string mending = "make it a file that the caller may read";
    const std::string remedy = "for " + list + ": " + mending + "; then: " + RECOVER;
    std::filesystem::remove(list);
    std::filesystem::create_directory(list);
    writeFile(session, "2:" + model + "\n");

    EXPECT_EQ(find(), (Findings{{FindingId::LIST_UNREADABLE, list, "the file cannot be read", mending},
                                {FindingId::SESSION_LEFTOVER, session, "the file belongs to no session", remedy}}));
}

TEST_F(FrameworkCheck, SuggestsNoCommitThatWouldLoseTheSession)
{
    const std::string text = "the host beta has a session open";
    const std::string commit = "; then: on the host beta: qor_mim_tool --commit";

    givenSession("2:" + model + "\nx:y\n", "beta");
    Findings found = find();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0], (Finding{FindingId::SESSION_FOREIGN, lock, text, found[1].remedy + commit}));
    EXPECT_EQ(found[1].id, FindingId::SESSION_INVALID);

    givenSession("2:" + model + "\n", "beta");
    writeFile(configuration, "<!-- edited -->\n" + configurationWith("Pump"));
    found = find();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0], (Finding{FindingId::SESSION_FOREIGN, lock, text, found[1].remedy + commit}));
    EXPECT_EQ(found[1].id, FindingId::LIVE_CHANGED);
}

TEST_F(FrameworkCheck, FindsAnEmptyLockFile)
{
    givenSession("2:" + model + "\n", "");

    EXPECT_EQ(find(),
              (Findings{{FindingId::SESSION_STALE, lock, "the lock file does not hold the name of a host", RECOVER}}));
}

TEST_F(FrameworkCheck, FindsLeftoversOfASession)
{
    givenSession("2:" + model + "\n");
    std::filesystem::remove(lock);

    EXPECT_EQ(
        find(),
        (Findings{{FindingId::SESSION_LEFTOVER, session, "the file belongs to no session", RECOVER},
                  {FindingId::SESSION_LEFTOVER, configuration + ".tmp", "the file belongs to no session", RECOVER},
                  {FindingId::SESSION_LEFTOVER, list + ".tmp", "the file belongs to no session", RECOVER}}));
}

TEST_F(FrameworkCheck, FindsASessionFileThatCannotBeParsed)
{
    givenSession("2:" + model + "\n\nx:y\n0:/a:b\n");

    EXPECT_EQ(find(), (Findings{{FindingId::SESSION_INVALID, session, "the session file cannot be parsed",
                                 "in " + session +
                                     ", remove or correct these lines, which are not of the form KIND:TEXT: 3, 4"}}));
}

TEST_F(FrameworkCheck, SuggestsMovingASessionFileWithoutActions)
{
    givenSession("0:/a:b\n");

    EXPECT_EQ(find(), (Findings{{FindingId::SESSION_INVALID, session, "the session file cannot be parsed",
                                 "mv " + session + " " + session + ".invalid && " + RECOVER}}));
}

TEST_F(FrameworkCheck, SuggestsRecoverForATornLine)
{
    givenSession("2:" + model + "\n2");

    EXPECT_EQ(find(), (Findings{{FindingId::SESSION_INVALID, session, "the session file cannot be parsed", RECOVER}}));
}

TEST_F(FrameworkCheck, FindsLiveFilesThatWereChangedDuringASession)
{
    givenSession("2:" + model + "\n");
    writeFile(configuration, "<!-- edited -->\n" + configurationWith("Pump"));
    writeFile(list, framework.model("valve.xml", "Pump") + "\n" + model + "\n");

    const std::string text = "the file differs from its working copy, so that a commit would undo the session";
    const auto remedy = [](const std::string& live)
    { return "cp -p " + live + ".tmp " + live + ".tmp.old && cp " + live + " " + live + ".tmp"; };
    EXPECT_EQ(find(), (Findings{{FindingId::LIVE_CHANGED, configuration, text, remedy(configuration)},
                                {FindingId::LIVE_CHANGED, list, text, remedy(list)}}));
}

// ---- Interruptions ----

TEST_F(FrameworkCheck, FindsAnInterruptedCommitInsteadOfASession)
{
    givenSession("2:" + model + "\n");
    writeFile(configuration + ".bak", readFile(configuration));
    writeFile(list + ".bak", readFile(list));
    writeFile(list + ".tmp", "");

    EXPECT_EQ(find(), (Findings{{FindingId::COMMIT_INTERRUPTED, std::nullopt,
                                 "a commit was interrupted, unless one is running just now", RECOVER}}));
}

TEST_F(FrameworkCheck, FindsAnInterruptedCommitOfAnotherHost)
{
    givenSession("2:" + model + "\n", "beta");
    writeFile(configuration + ".bak", readFile(configuration));
    writeFile(list + ".bak", readFile(list));
    writeFile(list + ".tmp", "");

    EXPECT_EQ(find(),
              (Findings{{FindingId::COMMIT_INTERRUPTED, std::nullopt,
                         "a commit was interrupted, unless one is running just now", "on the host beta: " + RECOVER}}));
}

TEST_F(FrameworkCheck, FindsTheLockFileOfAnApply)
{
    writeFile(lock, "qor_mim_ctl@alpha");

    EXPECT_EQ(find(), (Findings{{FindingId::COMMIT_INTERRUPTED, std::nullopt,
                                 "a commit was interrupted, unless one is running just now", RECOVER}}));
}

TEST_F(FrameworkCheck, SuggestsRecoverBeforeAnyEdit)
{
    writeFile(configuration + ".bak", configurationWith("Old"));
    writeFile(list + ".bak", model + "\n");
    writeFile(list, model);

    EXPECT_EQ(find(), (Findings{{FindingId::LIST_END, list, "the last line has no line feed",
                                 RECOVER + "; then, if it is still there: echo >>" + list},
                                {FindingId::ROLLBACK_INTERRUPTED, std::nullopt,
                                 "a rollback was interrupted, unless one is running just now", RECOVER}}));
}

// ---- Ownership ----

TEST_F(FrameworkCheck, FindsAModeThatDiffersFromTheBackups)
{
    writeFile(configuration + ".bak", configurationWith("Pump"));
    writeFile(list + ".bak", "");
    std::filesystem::permissions(configuration + ".bak", perms(0640));
    std::filesystem::permissions(configuration, perms(01645));

    const Findings found = find();

    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].id, FindingId::OWNERSHIP);
    EXPECT_EQ(found[0].file, configuration);
    const std::string owner = std::to_string(::getuid()) + ":" + std::to_string(::getgid());
    EXPECT_EQ(found[0].text,
              "owner, group and mode are " + owner + " 1645, and those of the backup " + owner + " 0640");
    const std::string reference = " --reference=" + configuration + ".bak " + configuration;
    EXPECT_EQ(found[0].remedy, "chown" + reference + " && chmod" + reference);
}

// ---- Other files ----

TEST_F(FrameworkCheck, ThrowsForAnUnreadableFileThatIsNotLive)
{
    for (const std::string& path : {session, lock, list + ".bak", configuration + ".tmp"})
    {
        putDirectoryAt(path);
        try
        {
            find();
            ADD_FAILURE() << path;
        }
        catch (const Poco::FileException& exc)
        {
            EXPECT_EQ(exc.message(), "the file cannot be read: " + path);
        }
        std::filesystem::remove(path);
    }
}

} // namespace

} // namespace QMT::Test
