#include "ctl/RecoveryOrder.h"
#include "support/RecoveryTest.h"

namespace QMT::Test
{

namespace
{

using Lines = std::vector<std::string>;

/// RecoveryProperties interrupts these orders after every step.
class RecoveryOrder : public RecoveryTest
{
protected:
    /// The files that are changed, in their order, without the directory.
    Lines order(std::optional<Assumption> assumption = std::nullopt)
    {
        CRecoveryCache cache(facts);
        const SessionOwner owner = sessionOwner(now.lock.value_or(""), "alpha");
        const Recovery recovery = decideRecovery(now, owner, cache, assumption);
        const auto steps = recoverySteps("/fw", now, recovery.after);
        Lines names;
        for (const RecoveryStep& step : inSafeOrder(steps, now, recovery.after, cache, assumption))
        {
            names.push_back(step.path.substr(step.path.rfind('/') + 1));
        }
        return names;
    }

    const std::string configuration = "qor.cfg";
    const std::string list = "model_file_list.cfg";
    const std::string session = "cmdfifo.dat";
    const std::string lock = "qor_mim_tool.lock";
};

TEST_F(RecoveryOrder, IsEmptyWithoutAStep)
{
    EXPECT_EQ(order(), Lines());
}

TEST_F(RecoveryOrder, KeepsTheUsualOrderWhereItIsSafe)
{
    now.session = "3:/pu";
    now.backup = old;

    EXPECT_EQ(order(), Lines({session, list + ".tmp", configuration + ".tmp", lock}));
}

TEST_F(RecoveryOrder, LeavesNoLoneLockFileThatWouldBeJudged)
{
    now = {committed, committed, old, std::nullopt, "alpha"};

    EXPECT_EQ(order(), Lines({list + ".tmp", lock, configuration + ".tmp"}));
}

TEST_F(RecoveryOrder, PutsTheRejectedListBackLast)
{
    facts.isRejected = true;
    now = withoutSession(committed, old);
    now.lock = "qor_mim_ctl@alpha";

    EXPECT_EQ(order(), Lines({configuration, list, lock}));
}

TEST_F(RecoveryOrder, RemovesTheBackupOfTheConfigurationFirst)
{
    now = withoutSession(old, {"<qor>", "/base\n/gone\n"});

    EXPECT_EQ(order(), Lines({configuration + ".bak", list + ".bak"}));
}

TEST_F(RecoveryOrder, RemovesLeftoversBeforeABackupThatMustWait)
{
    now = withoutSession({"", old.list}, {"", "/ba"});
    now.workingCopy.configuration = old.configuration;
    now.session = queue;

    EXPECT_EQ(order(), Lines({session, configuration + ".tmp", configuration + ".bak", list + ".bak"}));
}

TEST_F(RecoveryOrder, RemovesTheBackupOfTheListFirstInARollback)
{
    now = withoutSession({std::nullopt, older.list}, older);

    EXPECT_EQ(order(), Lines({list + ".bak", configuration, configuration + ".bak"}));
}

TEST_F(RecoveryOrder, AsksOnTheWayWhenTheEndIsUnclear)
{
    now = withSession({old.configuration, older.list}, older);
    now.lock = "qor_mim_ctl@alpha";

    EXPECT_EQ(order(), Lines({session, list + ".tmp", lock, configuration + ".tmp"}));
}

} // namespace

} // namespace QMT::Test
