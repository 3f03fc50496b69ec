#include "ctl/CRecoveryReading.h"
#include "support/RecoveryTest.h"

#include <random>

namespace QMT::Test
{

namespace
{

using Text = std::optional<std::string>;

/// What holds for every state of the files, tried on states put together at random.
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
        const Text asked[] = {std::nullopt, "c", "r", "n"};
        const Text& answer = asked[chance() % 4];
        assumption.reset();
        if (answer)
        {
            assumption = *answer == "c"   ? Assumption::COMMIT
                         : *answer == "r" ? Assumption::ROLLBACK
                                          : Assumption::NOTHING;
        }
    }

    const Text& pick(const std::vector<Text>& from)
    {
        return from[chance() % from.size()];
    }

    const FilePair edited = {documentServing({"Edited"}, "9"), "/edited\n"};
    std::vector<Text> documents;
    std::vector<Text> lists;
    std::vector<Text> sessions;
    std::vector<Text> locks;
    std::optional<Assumption> assumption;
    std::minstd_rand chance{1};
};

TEST_F(RecoveryProperties, AnEditIsReplacedOnlyWhereSomebodyHasSaidSo)
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

TEST_F(RecoveryProperties, NothingIsDoneWhereNothingIsFound)
{
    for (int state = 0; state < STATES; ++state)
    {
        choose();

        const Recovery recovery = read(assumption);

        const bool isChanged = !recoverySteps("/fw", now, recovery.after, recovery.order).empty();
        const bool isFound = recovery.found != Found::NOTHING && recovery.found != Found::UNCLEAR;
        ASSERT_EQ(isChanged, isFound) << state << shown(now) << shown(recovery.after)
                                      << static_cast<int>(recovery.found);
    }
}

} // namespace

} // namespace QMT::Test
