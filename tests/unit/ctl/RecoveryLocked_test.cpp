#include "support/RecoveryTest.h"
#include "support/Texts.h"

namespace QMT::Test
{

namespace
{

using Text = std::optional<std::string>;

// ---- A session ----

/// A session is open on "alpha": see RecoveryTest.
class RecoverySession : public RecoveryTest
{
protected:
    /// The files without the session, with the same backups.
    FrameworkContents ended() const
    {
        return withoutSession(now.live, now.backup);
    }
};

TEST_F(RecoverySession, KeepsAnOpenSession)
{
    expectNothing();
}

TEST_F(RecoverySession, KeepsASessionWithoutBackups)
{
    now.backup = FilePair();

    expectNothing();
}

TEST_F(RecoverySession, KeepsASessionWithALineFeedInItsLock)
{
    now.lock = "alpha\n";

    expectNothing();
}

TEST_F(RecoverySession, KeepsASessionWithAnInvalidQueue)
{
    now.session = "garbage\n";

    expectNothing();
}

TEST_F(RecoverySession, KeepsASessionAfterEditsOfTheLiveFiles)
{
    now.live = {documentServing({"Base"}, "9"), "/base\n/edited"};

    expectNothing();
}

TEST_F(RecoverySession, KeepsASessionAfterAdditionsToTheList)
{
    now.live.list = "/base\n/edited\n";

    expectNothing();
}

TEST_F(RecoverySession, KeepsASessionAfterACommitShortenedTheList)
{
    now = withSession({old.configuration, "/base\n"}, older);
    expectNothing();

    now = withSession({old.configuration, ""}, older);
    expectNothing();
}

TEST_F(RecoverySession, KeepsASessionOfABrokenDocument)
{
    now = withSession({"<qor>", old.list}, older);

    expectNothing();
}

TEST_F(RecoverySession, KeepsASessionThatRepeatsTheLastCommit)
{
    now = withSession(committed, old);

    expectNothing();
}

TEST_F(RecoverySession, KeepsTheCompleteLinesOfItsQueue)
{
    const FrameworkContents kept = now;
    for (const std::string& rest : {std::string("0:/val"), nul(7)})
    {
        now.session = queue + rest;

        expectClear(Found::STAGING_INTERRUPTED, kept);
    }
}

TEST_F(RecoverySession, RestoresTornWorkingCopies)
{
    const FrameworkContents kept = now;
    for (const Text& torn : {Text(), Text(""), Text("<qor>"), Text(nul(9))})
    {
        now.workingCopy.configuration = torn;

        expectClear(Found::STAGING_INTERRUPTED, kept);
    }
    now = kept;
    for (const Text& torn : {Text(), Text("/ba"), Text("/ba" + nul(3))})
    {
        now.workingCopy.list = torn;

        expectClear(Found::STAGING_INTERRUPTED, kept);
    }
}

TEST_F(RecoverySession, RestoresATornHostName)
{
    const FrameworkContents kept = now;
    for (const std::string& cut : {std::string(), std::string("alp"), nul(5)})
    {
        now.lock = cut;

        expectClear(Found::STAGING_INTERRUPTED, kept);
    }
}

TEST_F(RecoverySession, EndsASessionWithoutACompleteLine)
{
    for (const Text& rest : {Text(), Text(""), Text("3:/pum"), Text(nul(4)), Text("\n")})
    {
        now.session = rest;

        expectClear(Found::STAGING_INTERRUPTED, ended());
    }
}

TEST_F(RecoverySession, EndsASessionWithoutAQueue)
{
    now.session.reset();
    now.workingCopy = {"<qor>", std::nullopt};

    expectClear(Found::STAGING_INTERRUPTED, ended());
}

TEST_F(RecoverySession, EndsAnEmptySessionWithoutTheValidator)
{
    now = withoutSession(committed, old);
    now.lock = "alpha";
    now.session = "";
    facts.isRejected = true;

    expectClear(Found::STAGING_INTERRUPTED, ended());
    EXPECT_EQ(facts.judged, 0);
}

TEST_F(RecoverySession, KeepsTheNameOfAnotherHost)
{
    now.lock = "beta";
    const FrameworkContents kept = now;
    now.workingCopy.list.reset();

    expectClear(Found::STAGING_INTERRUPTED, kept);
}

// ---- A commit that makes its backups ----

class RecoveryCommit : public RecoveryTest
{
protected:
    /// The session as it was, with backups that equal the live files.
    FrameworkContents undone() const
    {
        return withSession(old, old);
    }

    /// The same without backups.
    FrameworkContents undoneWithoutBackups() const
    {
        return withSession(old, FilePair());
    }

    /// The commit has made both backups and edited both working copies.
    void givenEdited()
    {
        now.backup = old;
        now.workingCopy = committed;
    }

    /// The commit has also installed the list.
    void givenInstalledList()
    {
        givenEdited();
        now.live.list = committed.list;
        now.workingCopy.list.reset();
    }
};

TEST_F(RecoveryCommit, RemovesTornBackups)
{
    for (const Text& torn : {Text(""), Text("<qor>"), Text(nul(9))})
    {
        now.backup.configuration = torn;

        expectClear(Found::COMMIT_INTERRUPTED, undoneWithoutBackups());
    }
    now.backup.configuration = old.configuration;
    for (const Text& torn : {Text("/ba"), Text("/base" + nul(1))})
    {
        now.backup.list = torn;

        expectClear(Found::COMMIT_INTERRUPTED, undoneWithoutBackups());
    }
}

TEST_F(RecoveryCommit, RemovesTheFirstBackupWhenItIsAlone)
{
    now.backup.list.reset();
    for (const Text& begun : {Text(""), Text("<qor>"), old.configuration})
    {
        now.backup.configuration = begun;

        expectClear(Found::COMMIT_INTERRUPTED, undoneWithoutBackups());
    }
}

TEST_F(RecoveryCommit, UndoesWithABackupOfTheListAlone)
{
    now.backup = {std::nullopt, old.list};

    expectClear(Found::COMMIT_INTERRUPTED, undoneWithoutBackups());
}

// ---- A commit that edits ----

TEST_F(RecoveryCommit, UndoesWhenCutWhileEditingTheDocument)
{
    now.backup = old;
    for (const std::string& edited : {*committed.configuration, std::string(), std::string("<qor>\n\t<part")})
    {
        now.workingCopy.configuration = edited;

        expectClear(Found::COMMIT_INTERRUPTED, undone());
    }
}

TEST_F(RecoveryCommit, UndoesWhenCutWhileEditingTheList)
{
    now.backup = old;
    for (const std::string& edited : {*committed.list, std::string(), std::string("/base\n/pu")})
    {
        now.workingCopy.list = edited;

        expectClear(Found::COMMIT_INTERRUPTED, undone());
    }
}

TEST_F(RecoveryCommit, UndoesWhenCutAfterTheEdits)
{
    givenEdited();

    expectClear(Found::COMMIT_INTERRUPTED, undone());
}

TEST_F(RecoveryCommit, UndoesWithAnIncompleteQueue)
{
    givenEdited();
    now.session = queue + "0:/v";

    expectClear(Found::COMMIT_INTERRUPTED, undone());
    EXPECT_EQ(facts.askedFor, queue);
}

TEST_F(RecoveryCommit, UndoesWithoutItsBackups)
{
    givenEdited();
    now.backup = FilePair();

    expectClear(Found::COMMIT_INTERRUPTED, undoneWithoutBackups());
    EXPECT_EQ(facts.askedFor, queue);
}

// ---- A commit that installs ----

TEST_F(RecoveryCommit, UndoesWhenCutWhileMovingTheListToBackup)
{
    givenEdited();
    for (const std::string& torn : {std::string(), std::string("/ba"), nul(6)})
    {
        now.backup.list = torn;

        expectClear(Found::COMMIT_INTERRUPTED, undoneWithoutBackups());
    }
}

TEST_F(RecoveryCommit, UndoesAMoveOfAnUnchangedListToBackup)
{
    facts.results[{*old.configuration, *old.list}] = {{committed.configuration, old.list}};
    givenEdited();
    now.workingCopy.list = old.list;
    now.backup.list = "/ba";

    expectClear(Found::COMMIT_INTERRUPTED, undoneWithoutBackups());
}

TEST_F(RecoveryCommit, UndoesWithAListBackupCutAtALineEnd)
{
    now = withSession({old.configuration, "/base\n/aux\n"}, old);
    FrameworkContents after = now;
    after.backup = FilePair();
    now.workingCopy.configuration = documentServing({"Half"});

    expectClear(Found::COMMIT_INTERRUPTED, after);
}

TEST_F(RecoveryCommit, AsksWhetherABackupIsShortOrTheListEdited)
{
    const FilePair live = {old.configuration, "/base\n/aux\n"};
    facts.results[{*live.configuration, *live.list}] = {{live.configuration, "/base\n/aux\n/pump\n"}};
    now = withSession(live, old);
    FrameworkContents after = now;
    after.backup = FilePair();
    now.workingCopy.list = "";

    expectUnclear("the list was edited: by a commit cut short, or by somebody during the session");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, after);
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryCommit, UndoesWhenTheListIsMissing)
{
    givenEdited();
    now.live.list.reset();

    expectClear(Found::COMMIT_INTERRUPTED, undone());
}

TEST_F(RecoveryCommit, UndoesWhenTheListIsTorn)
{
    givenEdited();
    for (const std::string& torn : {std::string("/base\n/pu"), std::string("/ba"), nul(12), "/base\n/pu" + nul(3)})
    {
        now.live.list = torn;

        expectClear(Found::COMMIT_INTERRUPTED, undone());
    }
}

TEST_F(RecoveryCommit, UndoesWhenTheListIsCutAtALineEnd)
{
    const FilePair longer = {committed.configuration, "/base\n/pump\n/valve\n"};
    facts.results[{*old.configuration, *old.list}] = {committed, longer};
    givenEdited();
    now.workingCopy = longer;
    for (const std::string& cut : {std::string(), std::string("/base\n/pump\n")})
    {
        now.live.list = cut;

        expectClear(Found::COMMIT_INTERRUPTED, undone());
    }
}

TEST_F(RecoveryCommit, UndoesWhenAnUnchangedListIsCutAtALineEnd)
{
    facts.results[{*old.configuration, *old.list}] = {{committed.configuration, old.list}};
    givenEdited();
    now.workingCopy.list = old.list;
    now.live.list = "";

    expectClear(Found::COMMIT_INTERRUPTED, undone());
}

TEST_F(RecoveryCommit, UndoesWhenTheListIsInstalled)
{
    givenEdited();
    now.live.list = committed.list;
    expectClear(Found::COMMIT_INTERRUPTED, undone());

    now.workingCopy.list.reset();
    expectClear(Found::COMMIT_INTERRUPTED, undone());
}

TEST_F(RecoveryCommit, UndoesWhenAnEarlierActionsListIsInstalled)
{
    const FilePair longer = {committed.configuration, "/base\n/pump\n/valve\n"};
    facts.results[{*old.configuration, *old.list}] = {committed, longer};
    givenInstalledList();

    expectClear(Found::COMMIT_INTERRUPTED, undone());
}

TEST_F(RecoveryCommit, UndoesWhenCutWhileMovingTheDocumentToBackup)
{
    givenInstalledList();
    for (const std::string& torn : {std::string(), std::string("<qor>"), nul(9)})
    {
        now.backup.configuration = torn;

        expectClear(Found::COMMIT_INTERRUPTED, undoneWithoutBackups());
    }
}

TEST_F(RecoveryCommit, UndoesAMoveOfAnUnchangedDocumentToBackup)
{
    facts.results[{*old.configuration, *old.list}] = {{old.configuration, committed.list}};
    givenInstalledList();
    now.workingCopy.configuration = old.configuration;
    now.backup.configuration = "<qor>";

    expectClear(Found::COMMIT_INTERRUPTED, undoneWithoutBackups());
}

TEST_F(RecoveryCommit, UndoesWhenTheDocumentIsMissing)
{
    givenInstalledList();
    now.live.configuration.reset();

    expectClear(Found::COMMIT_INTERRUPTED, undone());
}

TEST_F(RecoveryCommit, UndoesWhenTheDocumentIsTorn)
{
    givenInstalledList();
    for (const std::string& torn : {std::string(), std::string("<qor>"), nul(9), committed.configuration->substr(0, 70),
                                    std::string("<qor><broken></qor>")})
    {
        now.live.configuration = torn;

        expectClear(Found::COMMIT_INTERRUPTED, undone());
    }
}

TEST_F(RecoveryCommit, UndoesWhenTheDocumentIsTornAndItsCopyGone)
{
    givenInstalledList();
    now.workingCopy.configuration.reset();
    now.live.configuration = committed.configuration->substr(0, 70);

    expectClear(Found::COMMIT_INTERRUPTED, undone());
}

TEST_F(RecoveryCommit, UndoesWhenBothFilesAreInstalled)
{
    givenInstalledList();
    now.live.configuration = committed.configuration;
    expectClear(Found::COMMIT_INTERRUPTED, undone());

    now.workingCopy.configuration.reset();
    expectClear(Found::COMMIT_INTERRUPTED, undone());
}

TEST_F(RecoveryCommit, UndoesAnInstalledDocumentWithTheListUnchanged)
{
    facts.results[{*old.configuration, *old.list}] = {{committed.configuration, old.list}};
    now = withSession({committed.configuration, old.list}, old);
    now.workingCopy = FilePair();

    expectClear(Found::COMMIT_INTERRUPTED, undone());
}

TEST_F(RecoveryCommit, EndsTheSessionWithoutACompleteLine)
{
    givenEdited();
    now.live.list.reset();
    now.session.reset();

    expectClear(Found::COMMIT_INTERRUPTED, withoutSession(old, old));
}

// ---- A live file that was lost otherwise ----

TEST_F(RecoveryCommit, RestoresAMissingListFromTheSession)
{
    for (const FilePair& backup : {older, FilePair()})
    {
        now = withSession(old, backup);
        const FrameworkContents whole = now;
        now.live.list.reset();

        expectClear(Found::COMMIT_INTERRUPTED, whole);
    }
}

TEST_F(RecoveryCommit, RestoresAMissingDocumentFromTheSession)
{
    for (const FilePair& backup : {older, FilePair()})
    {
        now = withSession(old, backup);
        const FrameworkContents whole = now;
        now.live.configuration.reset();

        expectClear(Found::COMMIT_INTERRUPTED, whole);
    }
}

TEST_F(RecoveryCommit, RestoresBothFilesFromTheSession)
{
    now = withSession(old, FilePair());
    const FrameworkContents whole = now;
    now.live = FilePair();

    expectClear(Found::COMMIT_INTERRUPTED, whole);
}

TEST_F(RecoveryCommit, RestoresBothBackupsWhenBothFilesAreTorn)
{
    givenEdited();
    now.live = {"<qor>", "/ba"};

    expectClear(Found::COMMIT_INTERRUPTED, undone());
}

TEST_F(RecoveryCommit, AsksWhetherTheListIsTheBackupsOrTheSessions)
{
    now = withSession(old, {old.configuration, "/base\n/gone\n"});
    facts.rootClasses.clear();
    const FrameworkContents staged = now;
    const FrameworkContents back = withSession(now.backup, now.backup);
    now.live.list.reset();

    expectUnclear("a live file is missing or torn, and its previous content is unclear");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, back);
    expectAssumed(Assumption::ROLLBACK, Found::COMMIT_INTERRUPTED, staged);
    expectAssumed(Assumption::NOTHING, Found::COMMIT_INTERRUPTED, staged);
}

TEST_F(RecoveryCommit, AsksBeforeItReplacesAnEdit)
{
    givenEdited();
    now.live = {documentServing({"Base"}, "9"), std::nullopt};
    now.workingCopy = FilePair();

    expectUnclear("a live file is missing or torn, and its previous content is unclear");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, undone());
    expectAssumed(Assumption::ROLLBACK, Found::COMMIT_INTERRUPTED, undone());
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryCommit, AsksWhenNoCompleteCopyExists)
{
    now.backup = {"<qor>", "/ba"};
    now.workingCopy = FilePair();
    now.live.list.reset();

    expectUnclear(WHOLE_NOWHERE);
    EXPECT_EQ(read(Assumption::COMMIT).found, Found::UNCLEAR);
    EXPECT_EQ(read(Assumption::ROLLBACK).found, Found::UNCLEAR);
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

// ---- Ambiguous states ----

TEST_F(RecoveryCommit, AsksWhetherTheListIsInstalledOrStagedAnew)
{
    facts.results[{*old.configuration, *old.list}] = {{old.configuration, committed.list}};
    facts.rootClasses.clear();
    now = withSession({old.configuration, committed.list}, old);

    expectUnclear("the list is what the queue makes of its backup: a commit cut short, or actions staged anew");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, undone());
    expectAssumed(Assumption::ROLLBACK, Found::NOTHING, now);
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryCommit, KeepsASessionThatExtendsTheLastCommit)
{
    const FilePair longer = {old.configuration, "/base\n/pump\n/valve\n"};
    facts.results[{*old.configuration, *old.list}] = {{old.configuration, committed.list}, longer};
    facts.rootClasses.clear();
    now = withSession({old.configuration, committed.list}, old);

    expectNothing();
}

TEST_F(RecoveryCommit, AsksWhetherTheListIsCutOrEdited)
{
    now = withSession(committed, {committed.configuration, "/base\n/gone\n"});
    now.live.list = "/base\n";
    facts.rootClasses.clear();
    const FilePair back = now.backup;

    expectUnclear("the list is the beginning of another: a commit cut short, or somebody's edit");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, withSession(back, back));
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryCommit, KeepsAShortenedListWithoutATraceOfACommit)
{
    now = withSession(committed, older);
    now.live.list = "/base\n";
    expectNothing();

    now.backup = FilePair();
    expectNothing();
}

TEST_F(RecoveryCommit, AsksAboutADocumentBesideAnEditedList)
{
    now = withSession({committed.configuration, "/edited\n"}, old);
    now.workingCopy = FilePair();

    expectUnclear("the document is what the queue makes of its backup, and the list is not");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, undone());
    expectAssumed(Assumption::NOTHING, Found::STAGING_INTERRUPTED, withSession(now.live, old));
}

TEST_F(RecoveryCommit, AsksWhetherTheListIsInstalledOrEditedAlike)
{
    now = withSession(old, old);
    now.live.list = committed.list;
    facts.rootClasses.clear();

    expectUnclear("the list is what the queue makes of its backup: a commit cut short, or actions staged anew");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, undone());
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryCommit, AsksWhetherAnEmptyListIsCutOrWasEmptied)
{
    now = withSession({old.configuration, ""}, old);

    expectUnclear("the list is the beginning of another: a commit cut short, or somebody's edit");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, undone());
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryCommit, AsksWhetherAListIsCutLikeItsCopyOrShortened)
{
    now = withSession({old.configuration, "/base\n"}, {old.configuration, "/base\n/aux\n"});
    FrameworkContents withoutBackups = now;
    withoutBackups.backup = FilePair();

    expectUnclear("the backups do not seem to belong together: a commit cut short, or one that changed the list alone");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, withoutBackups);
    expectAssumed(Assumption::NOTHING, Found::NOTHING, now);
}

TEST_F(RecoveryCommit, AsksWhetherTheListOrItsBackupIsCutAtALinesEnd)
{
    const FilePair live = {old.configuration, "/base\n/pump\n"};
    const FilePair longer = {old.configuration, "/base\n/pump\n/valve\n"};
    facts.results[{*old.configuration, *old.list}] = {longer};
    facts.results[{*live.configuration, *live.list}] = {longer};
    facts.rootClasses.clear();
    now = withSession(live, old);
    FrameworkContents withoutBackups = now;
    withoutBackups.backup = FilePair();
    now.workingCopy = longer;

    expectUnclear("the list is the beginning of another: a commit cut short, or somebody's edit");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, undone());
    expectAssumed(Assumption::NOTHING, Found::COMMIT_INTERRUPTED, withoutBackups);
}

// ---- A lock file alone ----

/// There is no session file and no working copy, and the live files are those of a commit.
class RecoveryLoneLock : public RecoveryTest
{
protected:
    RecoveryLoneLock()
    {
        now = withoutSession(committed, old);
        now.lock = "alpha";
    }

    const FrameworkContents unlocked = withoutSession(committed, old);
    const FrameworkContents back = withoutSession(old, old);
};

TEST_F(RecoveryLoneLock, RemovesTheLockWhenTheValidatorAccepts)
{
    expectClear(Found::COMMIT_INTERRUPTED, unlocked);
    EXPECT_EQ(facts.judged, 4);
}

TEST_F(RecoveryLoneLock, RemovesTheLockOfAListWithoutNewLines)
{
    facts.isRejected = true;
    now.live.list = "/base\n";
    now.backup.list = "/base\n/gone\n";
    FrameworkContents after = now;
    after.lock.reset();

    expectClear(Found::COMMIT_INTERRUPTED, after);
    EXPECT_EQ(facts.judged, 0);
}

TEST_F(RecoveryLoneLock, RemovesTheLockWithoutBackups)
{
    facts.isRejected = true;
    now.backup = FilePair();

    expectClear(Found::STAGING_INTERRUPTED, withoutSession(committed, FilePair()));
    EXPECT_EQ(facts.judged, 0);
}

TEST_F(RecoveryLoneLock, RemovesTheLockWithEqualBackups)
{
    facts.isRejected = true;
    now.backup = committed;

    expectClear(Found::STAGING_INTERRUPTED, withoutSession(committed, committed));
}

TEST_F(RecoveryLoneLock, AsksWhenTheValidatorRejects)
{
    facts.isRejected = true;

    expectUnclear("the validator rejects the list: a commit was not judged, or a call never got its session");
    expectAssumed(Assumption::COMMIT, Found::COMMIT_INTERRUPTED, back);
    expectAssumed(Assumption::ROLLBACK, Found::ROLLBACK_INTERRUPTED, unlocked);
    expectAssumed(Assumption::NOTHING, Found::STAGING_INTERRUPTED, unlocked);
}

TEST_F(RecoveryLoneLock, RemovesTheLockAndBackupsThatWereNeverLive)
{
    facts.isRejected = true;
    now.backup.list = "/ba";

    expectClear(Found::COMMIT_INTERRUPTED, withoutSession(committed, FilePair()));
    EXPECT_EQ(facts.judged, 0);
}

// ---- An apply ----

class RecoveryApply : public RecoveryTest
{
protected:
    RecoveryApply()
    {
        now.lock = "qor_mim_ctl@alpha";
    }
};

TEST_F(RecoveryApply, EndsAnApplyThatHasDoneNothing)
{
    expectClear(Found::COMMIT_INTERRUPTED, withoutSession(old, older));

    now.workingCopy = FilePair();
    now.session.reset();
    expectClear(Found::COMMIT_INTERRUPTED, withoutSession(old, older));
}

TEST_F(RecoveryApply, EndsAnApplyWithATruncatedLockFile)
{
    now = withoutSession(old, old);
    for (const std::string cut : {"qor_mim", "qor_mim_ctl@", "qor_mim_ctl@alp"})
    {
        now.lock = cut;

        expectClear(Found::COMMIT_INTERRUPTED, withoutSession(old, old));
    }
}

TEST_F(RecoveryApply, UndoesAnInterruptedApply)
{
    now.backup = old;
    now.workingCopy = committed;
    expectClear(Found::COMMIT_INTERRUPTED, withoutSession(old, old));

    now.live.list.reset();
    expectClear(Found::COMMIT_INTERRUPTED, withoutSession(old, old));

    now.live = committed;
    now.workingCopy = FilePair();
    expectClear(Found::COMMIT_INTERRUPTED, withoutSession(old, old));
}

TEST_F(RecoveryApply, KeepsTheResultWhenTheValidatorAccepts)
{
    now = withoutSession(committed, old);
    now.lock = "qor_mim_ctl@alpha";

    expectClear(Found::COMMIT_INTERRUPTED, withoutSession(committed, old));
    EXPECT_EQ(facts.judged, 4);
}

TEST_F(RecoveryApply, UndoesWhenTheValidatorRejects)
{
    facts.isRejected = true;
    now = withoutSession(committed, old);
    now.lock = "qor_mim_ctl@alpha";

    expectClear(Found::COMMIT_INTERRUPTED, withoutSession(old, old));
}

TEST_F(RecoveryApply, UndoesARejectedListWithoutNewLines)
{
    facts.isRejected = true;
    now = withoutSession(old, older);
    now.lock = "qor_mim_ctl@alpha";

    expectClear(Found::COMMIT_INTERRUPTED, withoutSession(older, older));
}

TEST_F(RecoveryApply, EndsAnUnchangedApplyWithoutTheValidator)
{
    facts.isRejected = true;
    for (const FilePair& backup : {old, FilePair()})
    {
        now = withoutSession(old, backup);
        now.lock = "qor_mim_ctl@alpha";

        expectClear(Found::COMMIT_INTERRUPTED, withoutSession(old, backup));
    }
    EXPECT_EQ(facts.judged, 0);
}

} // namespace

} // namespace QMT::Test
