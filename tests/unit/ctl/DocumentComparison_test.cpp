#include "ctl/DocumentComparison.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

const std::string DOCUMENT = "<qor><participants><participant><roots><root name=\"Base\"/></roots></participant>"
                             "</participants><limits a=\"1\" b=\"2\"/></qor>";

TEST(DifferInParticipantsOnly, ComparesEverythingOutsideThem)
{
    EXPECT_TRUE(differInParticipantsOnly(DOCUMENT, DOCUMENT));
    EXPECT_TRUE(
        differInParticipantsOnly(DOCUMENT, "<qor><participants/>\n <limits b=\"2\"   a=\"1\"></limits>\n</qor>\n"));
    EXPECT_FALSE(differInParticipantsOnly(DOCUMENT, "<qor><participants/><limits a=\"1\" b=\"3\"/></qor>"));
    EXPECT_FALSE(differInParticipantsOnly(DOCUMENT, "<qor><limits a=\"1\" b=\"2\"/></qor>"));
    EXPECT_FALSE(differInParticipantsOnly(DOCUMENT, "<qor><participants a=\"1\"/><limits a=\"1\" b=\"2\"/></qor>"));
}

TEST(DifferInParticipantsOnly, IgnoresTheirContent)
{
    EXPECT_TRUE(differInParticipantsOnly("<qor><participants><a/>text<b/></participants></qor>",
                                         "<qor><participants><!-- c --></participants></qor>"));
}

TEST(DifferInParticipantsOnly, IsFalseForMalformedXml)
{
    EXPECT_FALSE(differInParticipantsOnly(DOCUMENT, "<qor>"));
    EXPECT_FALSE(differInParticipantsOnly("<qor>", DOCUMENT));
    EXPECT_FALSE(differInParticipantsOnly("<qor>", "<qor>"));
}

TEST(ServesRootClass, MatchesTheNameOfARoot)
{
    EXPECT_TRUE(servesRootClass(DOCUMENT, "Base"));
    EXPECT_FALSE(servesRootClass(DOCUMENT, "Other"));
    EXPECT_FALSE(servesRootClass("<qor>", "Base"));
}

} // namespace

} // namespace QMT::Test
