#include "ctl/SessionOwner.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

SessionOwner ownerOf(const std::string& lock)
{
    return sessionOwner(lock, "alpha");
}

TEST(SessionOwner, IsThisHostForItsOwnName)
{
    const SessionOwner owner = ownerOf("alpha");

    EXPECT_EQ(owner.host, "alpha");
    EXPECT_TRUE(owner.isThisHost);
    EXPECT_TRUE(owner.mayBeOurs());
    EXPECT_FALSE(owner.isApply);
    EXPECT_FALSE(owner.isTruncated);
}

TEST(SessionOwner, HostIsTheFirstWordOfTheFile)
{
    EXPECT_TRUE(ownerOf(" alpha\n").isThisHost);
    EXPECT_EQ(ownerOf("beta gamma").host, "beta");
}

TEST(SessionOwner, IsAnotherHostForAnyOtherName)
{
    for (const std::string lock : {"beta", "alpha2", "Alpha", "lpha", "qor_mim_ctl@beta", "qor_mim_ctl@alpha2"})
    {
        const SessionOwner owner = ownerOf(lock);

        EXPECT_FALSE(owner.isThisHost) << lock;
        EXPECT_FALSE(owner.isTruncated) << lock;
        EXPECT_FALSE(owner.mayBeOurs()) << lock;
    }
}

TEST(SessionOwner, IsAnApplyForTheCompanionsPrefix)
{
    const SessionOwner own = ownerOf("qor_mim_ctl@alpha");
    const SessionOwner other = ownerOf("qor_mim_ctl@beta");

    EXPECT_TRUE(own.isApply);
    EXPECT_TRUE(own.isThisHost);
    EXPECT_EQ(own.host, "alpha");
    EXPECT_TRUE(other.isApply);
    EXPECT_FALSE(other.isThisHost);
    EXPECT_EQ(other.host, "beta");
}

TEST(SessionOwner, IsTruncatedForAPrefixOfTheHostName)
{
    for (const std::string lock : {"", " \n", "alph", "a"})
    {
        const SessionOwner owner = ownerOf(lock);

        EXPECT_TRUE(owner.isTruncated) << lock;
        EXPECT_TRUE(owner.mayBeOurs()) << lock;
        EXPECT_FALSE(owner.isApply) << lock;
    }
}

TEST(SessionOwner, IsTruncatedForAPrefixOfAnApplysContent)
{
    for (const std::string lock : {"q", "qor_mim_ctl", "qor_mim_ctl@", "qor_mim_ctl@alph"})
    {
        const SessionOwner owner = ownerOf(lock);

        EXPECT_TRUE(owner.isTruncated) << lock;
        EXPECT_TRUE(owner.isApply) << lock;
    }
}

TEST(SessionOwner, IsTruncatedForContentWithNul)
{
    EXPECT_TRUE(ownerOf(std::string(5, '\0')).isTruncated);
    EXPECT_TRUE(ownerOf(std::string("be\0a", 4)).isTruncated);
}

TEST(SessionOwner, IsAStagingCallForAnAmbiguousPrefix)
{
    EXPECT_FALSE(sessionOwner("q", "qor1").isApply);
    EXPECT_FALSE(sessionOwner("q", "q").isApply);
    EXPECT_TRUE(sessionOwner("q", "q").isThisHost);
    EXPECT_TRUE(sessionOwner("qor_mim_ctl@qo", "qor1").isApply);
}

TEST(ApplyLockContent, IsParsedAsTheApplyOfThatHost)
{
    const SessionOwner owner = ownerOf(applyLockContent("alpha"));

    EXPECT_TRUE(owner.isApply);
    EXPECT_TRUE(owner.isThisHost);
}

} // namespace

} // namespace QMT::Test
