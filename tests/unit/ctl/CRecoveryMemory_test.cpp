#include "ctl/CRecoveryMemory.h"
#include "support/RecoveryTest.h"

namespace QMT::Test
{

namespace
{

class RecoveryMemory : public RecoveryTest
{
protected:
    CRecoveryMemory memory{facts};
};

TEST_F(RecoveryMemory, AsksTheValidatorOnce)
{
    facts.isRejected = true;
    EXPECT_EQ(memory.verdict(), std::nullopt);

    EXPECT_TRUE(memory.isLiveListRejected());
    EXPECT_TRUE(memory.isLiveListRejected());

    EXPECT_EQ(facts.judged, 1);
    EXPECT_EQ(memory.verdict(), true);
}

TEST_F(RecoveryMemory, SupposesAVerdict)
{
    memory.suppose(true);

    EXPECT_TRUE(memory.isLiveListRejected());
    EXPECT_EQ(facts.judged, 0);
}

TEST_F(RecoveryMemory, TriesAQueueOnceForEachBase)
{
    EXPECT_EQ(memory.queueResults(old, queue), std::vector<FilePair>({committed}));
    EXPECT_TRUE(memory.queueResults(older, queue).empty());
    facts.results.clear();

    EXPECT_EQ(memory.queueResults(old, queue), std::vector<FilePair>({committed}));
    EXPECT_TRUE(memory.queueResults(old, "other").empty());
}

TEST_F(RecoveryMemory, LooksUpARootClassOnce)
{
    EXPECT_EQ(memory.rootClassOf("/pump"), "Pump");
    facts.rootClasses.clear();

    EXPECT_EQ(memory.rootClassOf("/pump"), "Pump");
    EXPECT_EQ(memory.rootClassOf("/base"), "");
}

TEST_F(RecoveryMemory, ParsesADocumentOnce)
{
    EXPECT_TRUE(memory.isDocument(*old.configuration));
    EXPECT_FALSE(memory.isDocument("<qor>"));
    facts.documents = {{*old.configuration, false}, {"<qor>", true}};

    EXPECT_TRUE(memory.isDocument(*old.configuration));
    EXPECT_FALSE(memory.isDocument("<qor>"));
}

TEST_F(RecoveryMemory, HostNameReturnsThatOfTheFacts)
{
    EXPECT_EQ(memory.hostName(), "alpha");
}

} // namespace

} // namespace QMT::Test
