#include "ctl/RecoveryOrder.h"
#include "support/RecoveryTest.h"

#include <random>

namespace QMT::Test
{

namespace
{

using Text = std::optional<std::string>;

/// Properties that hold for every state of the files, checked with random states.
class RecoveryProperties : public RecoveryTest
{
protected:
    static const int STATES = 20000;

    RecoveryProperties()
    {
        const FilePair both = {committed.configuration, "/base\n/pump\n/valve\n"};
        facts.results[{*old.configuration, *old.list}] = {committed, both};
        facts.results[{*older.configuration, *older.list}] = {
            {documentServing({"Base", "Gone", "Pump"}), "/base\n/gone\n/pump\n"}};
        facts.results[{*old.configuration, *older.list}] = {{committed.configuration, "/base\n/gone\n/pump\n"}};
        documents = {std::nullopt,
                     old.configuration,
                     old.configuration,
                     old.configuration,
                     older.configuration,
                     committed.configuration,
                     edited.configuration,
                     "",
                     "<qor><broken></qor>",
                     old.configuration->substr(0, 30),
                     committed.configuration->substr(0, 90),
                     std::string(40, '\0')};
        lists = {std::nullopt, old.list,    old.list, old.list, older.list,   committed.list,
                 both.list,    edited.list, "",       "/ba",    "/base\n/pu", std::string(9, '\0')};
        sessions = {std::nullopt, queue, queue, queue + "0:/v", "", "3:/pu"};
        locks = {std::nullopt, std::nullopt, "alpha", "alpha", "alpha", "", "alp", "qor_mim_ctl@alpha", "qor_mim"};
    }

    void choose()
    {
        now.live = {pick(documents), pick(lists)};
        now.workingCopy = {pick(documents), pick(lists)};
        now.backup = {pick(documents), pick(lists)};
        now.session = pick(sessions);
        now.lock = pick(locks);
        facts.isRejected = chance() % 2 == 0;
        assumption = pick(assumptions);
    }

    template<typename Value>
    const Value& pick(const std::vector<Value>& from)
    {
        return from[chance() % from.size()];
    }

    /// What a second recovery finds after `recovery`.
    Found foundAfter(const Recovery& recovery)
    {
        now = recovery.after;
        return read(assumption).found;
    }

    /// Whether the file at `path`, which is no session file and no lock file, exists.
    static bool isThere(const std::string& path, const FrameworkContents& contents)
    {
        const bool isCopy = path.find(".tmp") != std::string::npos;
        const bool isBackup = path.find(".bak") != std::string::npos;
        const FilePair& pair = isCopy ? contents.workingCopy : isBackup ? contents.backup : contents.live;
        return (path.find("qor.cfg") != std::string::npos ? pair.configuration : pair.list).has_value();
    }

    /// Interrupts the recovery of the files `before` after each of its steps. A second recovery must reach the same
    /// end, or ask if the end itself is unclear. On another live list the validator may give either verdict.
    void expectSameEnd(const FrameworkContents& before, const Recovery& recovery)
    {
        CRecoveryCache cache(facts);
        const SessionOwner owner = sessionOwner(before.lock.value_or(""), "alpha");
        static_cast<void>(decideRecovery(before, owner, cache, assumption));
        const bool isEndAsked = foundAfter(recovery) == Found::UNCLEAR;
        const auto steps = recoverySteps("/fw", before, recovery.after);
        const bool isRejected = facts.isRejected;
        FrameworkContents left = before;
        for (const RecoveryStep& step : inSafeOrder(steps, before, recovery.after, cache, assumption))
        {
            ASSERT_TRUE(!step.content || step.like == step.path || isThere(step.like, left))
                << step.text << shown(before);
            step.file(left) = step.content;
            for (const bool verdict : {false, true})
            {
                now = left;
                facts.isRejected = left.live.list == before.live.list ? isRejected : verdict;
                const Recovery again = read(assumption);

                const bool isAsked = isEndAsked && again.found == Found::UNCLEAR;
                ASSERT_TRUE(isAsked || again.after == recovery.after) << shown(before) << "\nat\n"
                                                                      << shown(left) << "\ninstead of\n"
                                                                      << shown(recovery.after) << "\nto\n"
                                                                      << shown(again.after) << again.question;
            }
        }
    }

    /// Whether a rollback that is interrupted after its first step may end with the files of the session instead of the
    /// backups. The list is torn; once the edited document is replaced, the list may be taken for the session's. With
    /// the list replaced first, nothing would be torn any more.
    bool isSessionFoundOnTheWay(const FrameworkContents& before, const Recovery& recovery) const
    {
        return assumption == Assumption::ROLLBACK && before.lock && recovery.after.live == before.backup &&
               before.workingCopy.configuration == before.backup.configuration &&
               before.workingCopy.list != before.backup.list &&
               before.live.configuration != before.backup.configuration;
    }

    const std::vector<std::optional<Assumption>> assumptions = {std::nullopt, Assumption::COMMIT, Assumption::ROLLBACK,
                                                                Assumption::NOTHING};
    const FilePair edited = {documentServing({"Edited"}, "9"), "/edited\n"};
    std::vector<Text> documents;
    std::vector<Text> lists;
    std::vector<Text> sessions;
    std::vector<Text> locks;
    std::optional<Assumption> assumption;
    std::minstd_rand chance{1};
};

TEST_F(RecoveryProperties, KeepsAnEditWithoutAnAssumption)
{
    for (int state = 0; state < STATES; ++state)
    {
        choose();
        facts.isRejected = false;
        now.live.configuration = edited.configuration;

        const Recovery recovery = read();

        ASSERT_EQ(recovery.after.live.configuration, edited.configuration) << shown(now);
    }
}

TEST_F(RecoveryProperties, ChangesFilesExactlyWhenSomethingIsFound)
{
    for (int state = 0; state < STATES; ++state)
    {
        choose();

        const Recovery recovery = read(assumption);

        const bool isChanged = !recoverySteps("/fw", now, recovery.after).empty();
        const bool isFound = recovery.found != Found::NOTHING && recovery.found != Found::UNCLEAR;
        ASSERT_EQ(isChanged, isFound) << state << shown(now) << shown(recovery.after)
                                      << static_cast<int>(recovery.found);
    }
}

TEST_F(RecoveryProperties, FindsNothingTheSecondTime)
{
    for (int state = 0; state < STATES; ++state)
    {
        choose();
        assumption.reset();
        const FrameworkContents before = now;
        const Recovery recovery = read();

        const Found found = foundAfter(recovery);

        ASSERT_TRUE(found == Found::NOTHING || found == Found::UNCLEAR) << shown(before);
    }
}

TEST_F(RecoveryProperties, ReachesTheSameEndWhenInterrupted)
{
    for (int state = 0; state < STATES && !HasFatalFailure(); ++state)
    {
        choose();
        assumption.reset();
        const FrameworkContents before = now;
        const Recovery recovery = read();
        if (recovery.found != Found::UNCLEAR)
        {
            expectSameEnd(before, recovery);
        }
    }
}

TEST_F(RecoveryProperties, ReachesTheEndOfAnAnswerWhenInterrupted)
{
    for (int state = 0; state < STATES && !HasFatalFailure(); ++state)
    {
        choose();
        const FrameworkContents before = now;
        const bool isClear = read().found != Found::UNCLEAR;
        const Recovery recovery = read(assumption);
        if (!isClear && recovery.found != Found::UNCLEAR && !isSessionFoundOnTheWay(before, recovery))
        {
            expectSameEnd(before, recovery);
        }
    }
}

} // namespace

} // namespace QMT::Test
