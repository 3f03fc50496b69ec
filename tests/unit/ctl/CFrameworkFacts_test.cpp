#include "ctl/CFrameworkFacts.h"

#include "support/FakeHostName.h"
#include "support/FakeInstallation.h"
#include "support/Files.h"
#include "support/RecoveryTest.h"
#include "support/TemporaryFramework.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

class FrameworkFacts : public testing::Test
{
protected:
    TemporaryFramework framework;
    FakeInstallation installation;
    CFrameworkFacts facts{framework.path()};
    const FilePair base = {documentServing({"Base"}), "/base\n"};
};

TEST_F(FrameworkFacts, HostNameReturnsThisHost)
{
    const FakeHostName host("gamma");

    EXPECT_EQ(facts.hostName(), "gamma");
}

TEST_F(FrameworkFacts, QueueResultsReturnsThePairAfterEachAction)
{
    const std::string one = framework.model("one.xml", "One");
    const std::string two = framework.model("two.xml", "Two");

    EXPECT_EQ(facts.queueResults(base, "0:" + one + "\n0:" + two + "\n"),
              std::vector<FilePair>({{base.configuration, "/base\n" + one + "\n"},
                                     {base.configuration, "/base\n" + one + "\n" + two + "\n"}}));
}

TEST_F(FrameworkFacts, QueueResultsIsEmptyForAnInvalidQueue)
{
    EXPECT_TRUE(facts.queueResults(base, "garbage\n").empty());
}

TEST_F(FrameworkFacts, QueueResultsIsEmptyForAMalformedDocument)
{
    EXPECT_TRUE(facts.queueResults({"<qor>", "/base\n"}, "2:/base\n").empty());
}

TEST_F(FrameworkFacts, QueueResultsStopsWhereACommitEnds)
{
    // An action without a path ends a commit.
    EXPECT_EQ(facts.queueResults(base, "2:/other\n4:|handler|1|1\n2:/other\n"), std::vector<FilePair>({base}));
}

TEST_F(FrameworkFacts, IsLiveListRejectedAsksTheValidator)
{
    writeFile(framework.list(), "/rejected\n");
    installation.setValidator("grep -q rejected \"$3\" && exit 1; exit 0");
    EXPECT_TRUE(facts.isLiveListRejected());

    writeFile(framework.list(), "/accepted\n");
    EXPECT_FALSE(facts.isLiveListRejected());
}

TEST_F(FrameworkFacts, IsLiveListRejectedIsFalseWithoutAValidator)
{
    EXPECT_FALSE(facts.isLiveListRejected());
}

TEST_F(FrameworkFacts, RootClassOfReturnsTheNameOrNothing)
{
    EXPECT_EQ(facts.rootClassOf(framework.model("one.xml", "One")), "One");
    EXPECT_EQ(facts.rootClassOf(framework.file("rootless.xml", "<model/>")), "");
    EXPECT_EQ(facts.rootClassOf(framework.path() + "/missing.xml"), "");
}

} // namespace

} // namespace QMT::Test
