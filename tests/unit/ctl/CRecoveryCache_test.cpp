#include "ctl/CRecoveryCache.h"
#include "support/RecoveryTest.h"

namespace QMT::Test
{

namespace
{

class RecoveryCache : public RecoveryTest
{
protected:
    CRecoveryCache cache{facts};
};

TEST_F(RecoveryCache, AsksTheValidatorOnce)
{
    facts.isRejected = true;
    EXPECT_EQ(cache.verdict(), std::nullopt);

    EXPECT_TRUE(cache.isLiveListRejected());
    EXPECT_TRUE(cache.isLiveListRejected());

    EXPECT_EQ(facts.judged, 1);
    EXPECT_EQ(cache.verdict(), true);
}

TEST_F(RecoveryCache, AssumesAVerdict)
{
    cache.assumeVerdict(true);

    EXPECT_TRUE(cache.isLiveListRejected());
    EXPECT_EQ(facts.judged, 0);
}

TEST_F(RecoveryCache, TriesAQueueOnceForEachBase)
{
    EXPECT_EQ(cache.queueResults(old, queue), std::vector<FilePair>({committed}));
    EXPECT_TRUE(cache.queueResults(older, queue).empty());
    facts.results.clear();

    EXPECT_EQ(cache.queueResults(old, queue), std::vector<FilePair>({committed}));
    EXPECT_TRUE(cache.queueResults(old, "other").empty());
}

TEST_F(RecoveryCache, LooksUpARootClassOnce)
{
    EXPECT_EQ(cache.rootClassOf("/pump"), "Pump");
    facts.rootClasses.clear();

    EXPECT_EQ(cache.rootClassOf("/pump"), "Pump");
    EXPECT_EQ(cache.rootClassOf("/base"), "");
}

TEST_F(RecoveryCache, ParsesADocumentOnce)
{
    EXPECT_TRUE(cache.isDocument(*old.configuration));
    EXPECT_FALSE(cache.isDocument("<qor>"));
    facts.documents = {{*old.configuration, false}, {"<qor>", true}};

    EXPECT_TRUE(cache.isDocument(*old.configuration));
    EXPECT_FALSE(cache.isDocument("<qor>"));
}

TEST_F(RecoveryCache, HostNameReturnsThatOfTheFacts)
{
    EXPECT_EQ(cache.hostName(), "alpha");
}

} // namespace

} // namespace QMT::Test
