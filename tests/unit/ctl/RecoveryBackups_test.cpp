#include "support/RecoveryTest.h"

namespace QMT::Test
{

namespace
{

/// The last commit added "/valve" to the list and left the document alone, unless a test says otherwise.
class RecoveryBackups : public RecoveryTest
{
protected:
    RecoveryBackups()
    {
        now = withoutSession({old.configuration, "/base\n/valve\n"}, old);
        facts.rootClasses["/valve"] = "Valve";
    }

    FrameworkContents withoutBackups() const
    {
        FrameworkContents after = now;
        after.backup = FilePair();
        return after;
    }

    /// The files are ambiguous: an interrupted commit, whose backups are removed, or none.
    void expectAsked()
    {
        expectUnclear(
            "the backups do not seem to belong together: a commit cut short, or one that changed the list alone");
        expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, withoutBackups());
        expectAssumed(Assumption::ROLLBACK, Found::NOTHING, now);
        expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
    }
};

TEST_F(RecoveryBackups, KeepsBackupsAfterAnAdditionWithoutAHandler)
{
    expectNothing();
}

TEST_F(RecoveryBackups, KeepsBackupsAfterARemovalWithoutAHandler)
{
    now.live.list = "/other\n";
    now.backup.list = "/other\n/base\n";

    expectNothing();
}

TEST_F(RecoveryBackups, KeepsBackupsWhenNoRootClassIsKnown)
{
    now.live.list = "/base\n/rootless\n";
    now.backup.list = "/base\n/lost\n";

    expectNothing();
}

TEST_F(RecoveryBackups, KeepsBackupsWhenTheDocumentsDiffer)
{
    now.live = {documentServing({"Base", "Valve"}), "/base\n/valve\n"};

    expectNothing();
}

TEST_F(RecoveryBackups, AsksWhenAModelOfTheLiveListAloneIsServed)
{
    now.live.configuration = now.backup.configuration = documentServing({"Base", "Valve"});

    expectAsked();
}

TEST_F(RecoveryBackups, AsksWhenAModelOfTheBackupAloneIsUnserved)
{
    now.backup.list = "/base\n/gone\n/valve\n";

    expectAsked();
}

TEST_F(RecoveryBackups, AsksDuringASessionToo)
{
    now = withSession(old, {old.configuration, older.list});

    expectAsked();
}

TEST_F(RecoveryBackups, RemovesABackupOfAMalformedDocument)
{
    now.backup.configuration = "<qor>";

    expectClear(Found::COMMIT_INTERRUPTED, withoutBackups());
}

TEST_F(RecoveryBackups, RemovesABackupWhoseListEndsInsideALine)
{
    for (const std::string& torn : {std::string("/ba"), std::string("/base\n\0", 7)})
    {
        now.backup.list = torn;

        expectClear(Found::COMMIT_INTERRUPTED, withoutBackups());
    }
}

TEST_F(RecoveryBackups, KeepsBackupsWhenBothListsEndInsideALine)
{
    now.live.list = now.backup.list = "/base\n/valve";

    expectNothing();
}

TEST_F(RecoveryBackups, KeepsABackupThatEndsLikeTheWorkingList)
{
    now = withSession({old.configuration, "/base\n/valve"}, {old.configuration, "/base\n/valve"});
    now.live.list = "/base\n/valve\n";

    expectNothing();
}

TEST_F(RecoveryBackups, RemovesBackupsThatEqualOnlyATornFile)
{
    now = {{"<qor>", old.list}, old, {"<qor>", old.list}, std::nullopt, "alpha"};

    expectClear(Found::COMMIT_INTERRUPTED, withoutSession(old, FilePair()));
}

TEST_F(RecoveryBackups, KeepsBackupsBesideATornFileThatStays)
{
    now = withSession({"<qor>", old.list}, {documentServing({"Base"}), "/ba"});
    now.workingCopy.configuration = "<other>";

    expectUnclear(WHOLE_NOWHERE);
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryBackups, RemovesABackupOfTheListAlone)
{
    now.backup.configuration.reset();
    expectClear(Found::COMMIT_INTERRUPTED, withoutBackups());

    now.backup.list = now.live.list;
    expectClear(Found::COMMIT_INTERRUPTED, withoutBackups());
}

TEST_F(RecoveryBackups, RemovesADocumentBackupThatWasNeverLive)
{
    now.backup = {"<qor>", std::nullopt};

    expectClear(Found::COMMIT_INTERRUPTED, withoutBackups());
}

TEST_F(RecoveryBackups, AsksAboutALoneDocumentBackupUnderALock)
{
    now = withSession(committed, {old.configuration, std::nullopt});
    const FilePair mixed = {old.configuration, committed.list};

    expectUnclear("the backup of the document is alone and not its copy: a session begun after a rollback cut short");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, withoutBackups());
    expectAssumed(Assumption::ROLLBACK, Found::ROLLBACK_INTERRUPTED, withSession(mixed, FilePair()));
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

} // namespace

} // namespace QMT::Test
