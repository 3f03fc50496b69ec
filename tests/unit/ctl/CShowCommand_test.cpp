#include "ctl/CShowCommand.h"

#include "ctl/Companion.h"
#include "support/FakeHostName.h"
#include "support/Files.h"
#include "support/TemporaryFramework.h"
#include "support/XmlTest.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

namespace QMT::Test
{

namespace
{

const std::string NO_MODEL = R"("models":[])";
const std::string PLACEHOLDER_ONLY =
    R"("handlers":[{"name":"VELDA_OAM_COMPONENT","placeholder":true,"managedObjectVersion":"1",)"
    R"("transactionalResourceVersion":"1","rootClasses":[]}])";
const std::string NOTHING_ELSE = "no session\nno backup\n";
const std::string TWO_HANDLERS = "2 handlers\n"
                                 "  a  versions 2, 3    X, Pump\n"
                                 "  b  versions 2, 3    Pump, Pump\n";
const std::string NO_SESSION = R"("session":null)";
const std::string NO_BACKUP = R"("backup":null)";

class ShowCommand : public testing::Test
{
protected:
    /// Runs it with JSON and expects these keys after those of every answer.
    void expectJson(int status, const std::string& keys, const std::string& error = std::string())
    {
        std::ostringstream out;
        std::ostringstream console;
        EXPECT_EQ(runCompanion({"show", "--json", "--qor-path=" + framework.path()}, out, console), status);
        const std::string end = error.empty() ? "" : R"(,"error":")" + error + "\"";
        EXPECT_EQ(out.str(), R"({"command":"show","framework":")" + framework.path() + R"(","status":)" +
                                 std::to_string(status) + "," + keys + end + "}\n");
        EXPECT_EQ(console.str(), error.empty() ? "" : "qor_mim_ctl: " + error + "\n");
    }

    void expectText(const std::string& text)
    {
        const Answer answer = CShowCommand().run(framework.path());
        EXPECT_EQ(answer.text, "framework " + framework.path() + "\n" + text);
    }

    static std::string keys(const std::string& models, const std::string& handlers, const std::string& session,
                            const std::string& backup)
    {
        return models + "," + handlers + "," + session + "," + backup;
    }

    void givenSession(const std::string& lock, const std::string& actions)
    {
        framework.openSession(actions, lock);
        setModificationTime(framework.lock(), 1769860800);
    }

    TemporaryFramework framework;
    FakeHostName hostName{"alpha"};
};

TEST_F(ShowCommand, ShowsANewFramework)
{
    expectJson(0, keys(NO_MODEL, PLACEHOLDER_ONLY, NO_SESSION, NO_BACKUP));
    expectText("0 models\n"
               "1 handler\n"
               "  VELDA_OAM_COMPONENT  versions 1, 1  placeholder\n"
               "no session\n"
               "no backup\n");
}

TEST_F(ShowCommand, ShowsWhichHandlersServeAModel)
{
    const std::string pump = framework.model("pump.xml", "Pump");
    const std::string pipe = framework.model("pipe.xml", "Pipe");
    writeFile(framework.list(), pump + "\n" + pipe + "\n");
    writeFile(framework.configuration(),
              configurationOf({{"a", {"X", "Pump"}, "2", "3"}, {"b", {"Pump", "Pump"}, "2", "3"}}));

    const std::string handlers = R"("handlers":[{"name":"a","placeholder":false,"managedObjectVersion":"2",)"
                                 R"("transactionalResourceVersion":"3","rootClasses":["X","Pump"]},)"
                                 R"({"name":"b","placeholder":false,"managedObjectVersion":"2",)"
                                 R"("transactionalResourceVersion":"3","rootClasses":["Pump","Pump"]}])";
    expectJson(0, keys(R"("models":[{"file":")" + pump +
                           R"(","exists":true,"rootClass":"Pump","handlers":["a","b"]},{"file":")" + pipe +
                           R"(","exists":true,"rootClass":"Pipe","handlers":[]}])",
                       handlers, NO_SESSION, NO_BACKUP));
    expectText("2 models\n  " + pump + "  Pump  a, b\n  " + pipe + "  Pipe\n" + TWO_HANDLERS + NOTHING_ELSE);
}

TEST_F(ShowCommand, ShowsModelsWithoutARootClass)
{
    const std::string rootless = framework.file("1.xml", "<m/>");
    const std::string nameless = framework.file("2.xml", "<m><c><root/></c></m>");
    const std::string broken = framework.file("3.xml", "<m>");
    const std::string directory = framework.file("4.xml", "");
    putDirectoryAt(directory);
    writeFile(framework.list(), rootless + "\n" + nameless + "\n" + broken + "\n" + directory + "\n");
    writeFile(framework.configuration(),
              "<participants><participant><roots><root/></roots>"
              "<managedObject compName='a' version='2'/><txResource version='3'/></participant></participants>");

    const std::string exists = R"(","exists":true,"rootClass":null,"handlers":[]},)";
    const std::string file = R"({"file":")";
    expectJson(0, keys(R"("models":[)" + file + rootless + exists + file + nameless + exists + file + broken + exists +
                           file + directory + R"(","exists":true,"rootClass":null,"handlers":[]}])",
                       R"("handlers":[{"name":"a","placeholder":false,"managedObjectVersion":"2",)"
                       R"("transactionalResourceVersion":"3","rootClasses":[""]}])",
                       NO_SESSION, NO_BACKUP));
    expectText("4 models\n  " + rootless + "  (no root class)\n  " + nameless + "  (root class without a name)\n  " +
               broken + "  (not well-formed)\n  " + directory + "  (cannot be read)\n" +
               "1 handler\n  a  versions 2, 3\n" + NOTHING_ELSE);
}

TEST_F(ShowCommand, ShowsMissingAndRelativeModelFiles)
{
    writeFile(framework.list(), "/none\nmodels\n");

    expectJson(0, keys(R"("models":[{"file":"/none","exists":false,"rootClass":null,"handlers":[]},)"
                       R"({"file":"models","exists":false,"rootClass":null,"handlers":[]}])",
                       PLACEHOLDER_ONLY, NO_SESSION, NO_BACKUP));
    expectText("2 models\n"
               "  /none   (missing)\n"
               "  models  (no absolute path)\n"
               "1 handler\n"
               "  VELDA_OAM_COMPONENT  versions 1, 1  placeholder\n" +
               NOTHING_ELSE);
}

TEST_F(ShowCommand, ShowsASessionOfThisHost)
{
    givenSession("alpha\n", "0:/m/a.xml\n9:odd\n");

    expectJson(0, keys(NO_MODEL, PLACEHOLDER_ONLY,
                       R"("session":{"host":"alpha","thisHost":true,"since":"2026-01-31T12:00:00Z",)"
                       R"("actions":[{"kind":"AddModelFile","file":"/m/a.xml"},{"kind":"9","text":"odd"}]})",
                       NO_BACKUP));
    expectText("0 models\n"
               "1 handler\n"
               "  VELDA_OAM_COMPONENT  versions 1, 1  placeholder\n"
               "session of alpha, this host, since 2026-01-31T12:00:00Z, 2 actions\n"
               "  --addModelFile=/m/a.xml\n"
               "  9: odd\n"
               "no backup\n");
}

TEST_F(ShowCommand, ShowsTheHostOfAnApply)
{
    givenSession("qor_mim_ctl@beta", "");

    expectJson(0, keys(NO_MODEL, PLACEHOLDER_ONLY,
                       R"("session":{"host":"beta","thisHost":false,"apply":true,"since":"2026-01-31T12:00:00Z",)"
                       R"("actions":[]})",
                       NO_BACKUP));
    expectText("0 models\n"
               "1 handler\n"
               "  VELDA_OAM_COMPONENT  versions 1, 1  placeholder\n"
               "session of an apply on beta, since 2026-01-31T12:00:00Z, 0 actions\n"
               "no backup\n");
}

TEST_F(ShowCommand, ShowsASessionOfAnUnknownHost)
{
    givenSession("", "0:/m/a.xml\n3");

    expectJson(0, keys(NO_MODEL, PLACEHOLDER_ONLY,
                       R"("session":{"host":null,"thisHost":false,"since":"2026-01-31T12:00:00Z",)"
                       R"("actions":[{"kind":"AddModelFile","file":"/m/a.xml"}]})",
                       NO_BACKUP));
    expectText("0 models\n"
               "1 handler\n"
               "  VELDA_OAM_COMPONENT  versions 1, 1  placeholder\n"
               "session of an unknown host, since 2026-01-31T12:00:00Z, 1 action\n"
               "  --addModelFile=/m/a.xml\n"
               "no backup\n");
}

TEST_F(ShowCommand, ShowsNoSessionForASessionFileAlone)
{
    writeFile(framework.session(), "0:/m/a.xml\n");

    expectJson(0, keys(NO_MODEL, PLACEHOLDER_ONLY, NO_SESSION, NO_BACKUP));
}

TEST_F(ShowCommand, ShowsTheTimeOfTheListsBackup)
{
    writeFile(framework.list(".bak"), "");
    setModificationTime(framework.list(".bak"), 0);
    writeFile(framework.configuration(".bak"), "");

    expectJson(0, keys(NO_MODEL, PLACEHOLDER_ONLY, NO_SESSION, R"("backup":{"since":"1970-01-01T00:00:00Z"})"));
    expectText("0 models\n"
               "1 handler\n"
               "  VELDA_OAM_COMPONENT  versions 1, 1  placeholder\n"
               "no session\n"
               "backup of 1970-01-01T00:00:00Z\n");
}

TEST_F(ShowCommand, ShowsNoBackupForADocumentBackupAlone)
{
    writeFile(framework.configuration(".bak"), "");

    expectJson(0, keys(NO_MODEL, PLACEHOLDER_ONLY, NO_SESSION, NO_BACKUP));
}

TEST_F(ShowCommand, EscapesNamesInTheText)
{
    writeFile(framework.list(), "/m/\x1b[2J\xff.xml\n");
    writeFile(framework.configuration(), configurationOf({{"a&#10;b", {"R&#9;"}, "2", "3"}}));
    givenSession("host\x07", "0:/m/\x1b[2J\n");

    expectText("1 model\n"
               "  /m/\\x1b[2J\xEF\xBF\xBD.xml  (missing)\n"
               "1 handler\n"
               "  a\\nb  versions 2, 3    R\\t\n"
               "session of host\\x07, since 2026-01-31T12:00:00Z, 1 action\n"
               "  --addModelFile=/m/\\x1b[2J\n"
               "no backup\n");
}

TEST_F(ShowCommand, ReportsAMissingDocumentAndShowsTheRest)
{
    const std::string pump = framework.model("pump.xml", "Pump");
    writeFile(framework.list(), pump + "\n");
    std::filesystem::remove(framework.configuration());

    expectJson(4,
               keys(R"("models":[{"file":")" + pump + R"(","exists":true,"rootClass":"Pump","handlers":[]}])",
                    R"("handlers":null)", NO_SESSION, NO_BACKUP),
               "the file is missing: " + framework.configuration());
    expectText("1 model\n  " + pump + "  Pump\nhandlers: unknown\n" + NOTHING_ELSE);
}

TEST_F(ShowCommand, ReportsAMalformedDocument)
{
    writeFile(framework.configuration(), "<qor>");

    expectJson(4, keys(NO_MODEL, R"("handlers":null)", NO_SESSION, NO_BACKUP),
               "the document cannot be parsed: " + framework.configuration());
}

TEST_F(ShowCommand, ReportsAnUnreadableDocument)
{
    putDirectoryAt(framework.configuration());

    expectJson(4, keys(NO_MODEL, R"("handlers":null)", NO_SESSION, NO_BACKUP),
               "the file cannot be read: " + framework.configuration());
}

TEST_F(ShowCommand, ReportsAMissingList)
{
    std::filesystem::remove(framework.list());

    expectJson(4, keys(R"("models":null)", PLACEHOLDER_ONLY, NO_SESSION, NO_BACKUP),
               "the file is missing: " + framework.list());
    expectText("models: unknown\n"
               "1 handler\n"
               "  VELDA_OAM_COMPONENT  versions 1, 1  placeholder\n"
               "no session\n"
               "no backup\n");
}

TEST_F(ShowCommand, ReportsAnUnreadableList)
{
    putDirectoryAt(framework.list());

    expectJson(4, keys(R"("models":null)", PLACEHOLDER_ONLY, NO_SESSION, NO_BACKUP),
               "the file cannot be read: " + framework.list());
}

TEST_F(ShowCommand, ReportsEveryUnreadableFileOfASession)
{
    putDirectoryAt(framework.lock());
    setModificationTime(framework.lock(), 1769860800);
    putDirectoryAt(framework.session());

    expectJson(4,
               keys(NO_MODEL, PLACEHOLDER_ONLY,
                    R"("session":{"host":null,"thisHost":false,"since":"2026-01-31T12:00:00Z","actions":[]})",
                    NO_BACKUP),
               "the file cannot be read: " + framework.lock() + "; the file cannot be read: " + framework.session());
}

TEST_F(ShowCommand, KeepsItsKeysWithoutAFramework)
{
    std::ostringstream out;
    std::ostringstream console;

    EXPECT_EQ(runCompanion({"show", "--json", "--qor-path=/nonexistent/"}, out, console), 4);

    EXPECT_EQ(out.str(), R"({"command":"show","framework":"/nonexistent","status":4,"models":null,"handlers":null,)"
                         R"("session":null,"backup":null,)"
                         R"("error":"File not found: there is no framework directory: /nonexistent"})"
                         "\n");
}

TEST_F(ShowCommand, RefusesOptionsOfOtherCommands)
{
    std::ostringstream out;
    std::ostringstream console;

    EXPECT_EQ(runCompanion({"show", "--wait=1"}, out, console), 2);
}

} // namespace

} // namespace QMT::Test
