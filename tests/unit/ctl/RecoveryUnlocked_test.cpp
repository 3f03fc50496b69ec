#include "support/RecoveryTest.h"
#include "support/Texts.h"

namespace QMT::Test
{

namespace
{

/// There is no lock file. The last commit changed the files from `older` to `old`.
class RecoveryUnlocked : public RecoveryTest
{
protected:
    RecoveryUnlocked()
    {
        now = withoutSession(old, older);
    }

    const FrameworkContents rolledBack = withoutSession(older, FilePair());
};

// ---- Nothing has happened ----

TEST_F(RecoveryUnlocked, FindsNothingAfterACommit)
{
    expectNothing();
}

TEST_F(RecoveryUnlocked, FindsNothingInANewFramework)
{
    now.backup = FilePair();

    expectNothing();
}

TEST_F(RecoveryUnlocked, FindsNothingWithEqualBackups)
{
    now.backup = old;

    expectNothing();
}

TEST_F(RecoveryUnlocked, FindsNothingAfterEditsOfBothFiles)
{
    now.live = {documentServing({"Base"}, "9"), "/base\n/edited"};

    expectNothing();
}

TEST_F(RecoveryUnlocked, FindsNothingWithAListCutAtALineEnd)
{
    now.live.list = "/base\n";
    now.backup.list = "/base\n/gone\n";

    expectNothing();
}

TEST_F(RecoveryUnlocked, FindsNothingWithAMalformedDocument)
{
    now = withoutSession({"<qor>", "/base\n"}, FilePair());

    expectNothing();
}

TEST_F(RecoveryUnlocked, FindsNothingWithAMalformedDocumentAndBackup)
{
    now = withoutSession({"<qor>", "/base\n"}, {"<qor>", "/base\n"});

    expectNothing();
}

TEST_F(RecoveryUnlocked, FindsNothingWithAListThatWasEmptyBefore)
{
    now.live.list = now.backup.list = "";
    now.backup.configuration = now.live.configuration;

    expectNothing();
}

TEST_F(RecoveryUnlocked, FindsNothingWithALastLineWithoutLineFeed)
{
    now.live.list = *old.list + "/base2";

    expectNothing();
}

// ---- Leftovers of a session ----

TEST_F(RecoveryUnlocked, DropsASessionFile)
{
    now.session = queue;

    expectClear(Found::STAGING_INTERRUPTED, withoutSession(old, older));
}

TEST_F(RecoveryUnlocked, DropsASessionFileThatOutlivedItsLockFile)
{
    now = withoutSession(committed, old);
    now.session = queue;

    expectClear(Found::STAGING_INTERRUPTED, withoutSession(committed, old));
}

TEST_F(RecoveryUnlocked, DropsWorkingCopies)
{
    now.workingCopy = {std::nullopt, "/ba"};
    expectClear(Found::STAGING_INTERRUPTED, withoutSession(old, older));

    now.workingCopy = {"<qor>", std::nullopt};
    expectClear(Found::STAGING_INTERRUPTED, withoutSession(old, older));
}

// ---- A rollback ----

TEST_F(RecoveryUnlocked, FinishesARollbackWithTheListMissing)
{
    now.live.list.reset();

    expectClear(Found::ROLLBACK_INTERRUPTED, rolledBack);
}

TEST_F(RecoveryUnlocked, FinishesARollbackWithTheListTorn)
{
    for (const std::string& torn : {std::string("/base\n/go"), "/ba" + nul(9), nul(12)})
    {
        now.live.list = torn;

        expectClear(Found::ROLLBACK_INTERRUPTED, rolledBack);
    }
}

TEST_F(RecoveryUnlocked, FinishesARollbackWithTheDocumentTorn)
{
    now.live.list = older.list;
    for (const auto& torn :
         {std::optional<std::string>(), std::optional<std::string>(""),
          std::optional<std::string>(older.configuration->substr(0, 20)), std::optional<std::string>("<q" + nul(30))})
    {
        now.live.configuration = torn;

        expectClear(Found::ROLLBACK_INTERRUPTED, rolledBack);
    }
}

TEST_F(RecoveryUnlocked, FinishesARollbackWhoseListIsDone)
{
    now.live.list = older.list;
    now.backup.list.reset();
    expectClear(Found::ROLLBACK_INTERRUPTED, rolledBack);

    now.live.configuration = older.configuration->substr(0, 20);
    expectClear(Found::ROLLBACK_INTERRUPTED, rolledBack);

    now.live.configuration.reset();
    expectClear(Found::ROLLBACK_INTERRUPTED, rolledBack);
}

TEST_F(RecoveryUnlocked, FinishesARollbackWhoseDocumentIsDone)
{
    now = withoutSession(older, {older.configuration, std::nullopt});

    expectClear(Found::ROLLBACK_INTERRUPTED, rolledBack);
}

TEST_F(RecoveryUnlocked, FinishesARollbackWithoutADocumentBackup)
{
    now = withoutSession({old.configuration, "/base\n/go"}, {std::nullopt, older.list});

    expectClear(Found::ROLLBACK_INTERRUPTED, withoutSession({old.configuration, older.list}, FilePair()));
}

TEST_F(RecoveryUnlocked, FinishesARollbackToAListEndingInsideALine)
{
    now = withoutSession({std::nullopt, "/base\n/edited"}, {older.configuration, "/base\n/edited"});

    expectClear(Found::ROLLBACK_INTERRUPTED, withoutSession({older.configuration, "/base\n/edited"}, FilePair()));
}

TEST_F(RecoveryUnlocked, FinishesARollbackToAListWithAnyCharacter)
{
    now.live.list.reset();
    now.backup.list = "/~\n";

    expectClear(Found::ROLLBACK_INTERRUPTED, withoutSession({older.configuration, "/~\n"}, FilePair()));
}

TEST_F(RecoveryUnlocked, FinishesARollbackBesideAMalformedDocument)
{
    now = withoutSession({"<qor>", std::nullopt}, {"<qor>", older.list});

    expectClear(Found::ROLLBACK_INTERRUPTED, withoutSession({"<qor>", older.list}, FilePair()));
}

TEST_F(RecoveryUnlocked, FinishesARollbackBesideSessionLeftovers)
{
    now.live.list.reset();
    now.workingCopy = older;
    now.session = queue;

    expectClear(Found::ROLLBACK_INTERRUPTED, rolledBack);
}

// ---- Ambiguous states ----

TEST_F(RecoveryUnlocked, AsksForARollbackOrACommitOfTheSameList)
{
    now.backup.list = now.live.list;
    const FrameworkContents back = withoutSession({older.configuration, old.list}, FilePair());

    expectUnclear("the list equals its backup and the document does not: a rollback cut short, or a finished commit "
                  "that left the list alone");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, back);
    expectAssumed(Assumption::ROLLBACK, Found::ROLLBACK_INTERRUPTED, back);
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryUnlocked, AsksForARollbackOrARemovalOfTheLastModel)
{
    now.live.list = "";

    expectUnclear("the list is empty: a rollback cut short, or the last model was removed");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, rolledBack);
    expectAssumed(Assumption::ROLLBACK, Found::ROLLBACK_INTERRUPTED, rolledBack);
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryUnlocked, AsksBeforeARollbackReplacesAnEditedDocument)
{
    now.live = {documentServing({"Base"}, "9"), "/base\n/go"};

    expectUnclear("the list is torn, and the document was edited since the last commit");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, rolledBack);
    expectAssumed(Assumption::ROLLBACK, Found::ROLLBACK_INTERRUPTED, rolledBack);
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryUnlocked, AsksWhatALoneBackupOfAnEditedDocumentIs)
{
    now.backup = {documentServing({"Base", "Gone"}, "9"), std::nullopt};
    const FrameworkContents back = withoutSession({now.backup.configuration, old.list}, FilePair());

    expectUnclear("the backup of the document is alone, and differs outside the participants too");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, back);
    expectAssumed(Assumption::ROLLBACK, Found::ROLLBACK_INTERRUPTED, back);
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryUnlocked, AsksWhatALoneBackupOfABrokenDocumentIs)
{
    now = withoutSession({"<qor><broken></qor>", old.list}, {older.configuration, std::nullopt});

    expectUnclear("the backup of the document is alone, and differs outside the participants too");
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryUnlocked, AsksWhatBrokeADocumentAfterACommit)
{
    for (const auto& torn : {std::optional<std::string>(), std::optional<std::string>("<qor><broken></qor>"),
                             std::optional<std::string>("<qor>")})
    {
        now.live.configuration = torn;

        expectUnclear("the document is missing or torn, and neither a commit nor a rollback leaves it so");
        expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, rolledBack);
        expectAssumed(Assumption::ROLLBACK, Found::ROLLBACK_INTERRUPTED, rolledBack);
        expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
    }
}

TEST_F(RecoveryUnlocked, AsksWhatBrokeADocumentBesideAnEqualList)
{
    now.live = {"<qor><broken></qor>", older.list};

    expectUnclear("the document is missing or torn, and neither a commit nor a rollback leaves it so");
    expectAssumed(Assumption::ROLLBACK, Found::ROLLBACK_INTERRUPTED, rolledBack);
}

// ---- No complete file ----

TEST_F(RecoveryUnlocked, AsksWhenNoCompleteListExists)
{
    now.live.list.reset();
    for (const auto& torn : {std::optional<std::string>(), std::optional<std::string>("/base\n/go"),
                             std::optional<std::string>("/ba" + nul(2) + "\n")})
    {
        now.backup.list = torn;

        expectUnclear(WHOLE_NOWHERE);
        EXPECT_EQ(read(Assumption::COMMIT).found, Found::UNCLEAR);
        EXPECT_EQ(read(Assumption::ROLLBACK).found, Found::UNCLEAR);
    }
}

TEST_F(RecoveryUnlocked, AsksWhenListAndBackupAreTornAlike)
{
    now.live.list = now.backup.list = "/base\n/go";
    now.workingCopy.list = older.list;

    expectUnclear(WHOLE_NOWHERE);
}

TEST_F(RecoveryUnlocked, AsksWhenNoCompleteDocumentExists)
{
    now = withoutSession({std::nullopt, old.list}, FilePair());
    expectUnclear(WHOLE_NOWHERE);
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);

    now.backup = {"<qor>", std::nullopt};
    expectUnclear(WHOLE_NOWHERE);
    EXPECT_EQ(read(Assumption::COMMIT).found, Found::UNCLEAR);

    now.backup = {std::nullopt, old.list};
    expectUnclear(WHOLE_NOWHERE);

    now.backup = {"<qor>", older.list};
    expectUnclear(WHOLE_NOWHERE);
}

TEST_F(RecoveryUnlocked, AsksInsteadOfRollingBackToABrokenDocument)
{
    now.live.list.reset();
    now.backup.configuration = "<qor>";

    expectUnclear(WHOLE_NOWHERE);
}

TEST_F(RecoveryUnlocked, AsksInsteadOfRollingBackWithoutADocument)
{
    now.live = FilePair();
    now.backup.configuration.reset();

    expectUnclear(WHOLE_NOWHERE);
}

} // namespace

} // namespace QMT::Test
