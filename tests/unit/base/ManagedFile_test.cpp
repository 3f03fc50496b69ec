#include "base/ManagedFile.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

TEST(ManagedFile, InReturnsTheThreePaths)
{
    const ManagedFile file = ManagedFile::in("/root", "etc/model", "list.cfg");

    EXPECT_EQ(file.live, "/root/etc/model/list.cfg");
    EXPECT_EQ(file.workingCopy, "/root/etc/model/list.cfg.tmp");
    EXPECT_EQ(file.backup, "/root/etc/model/list.cfg.bak");
}

TEST(ManagedFile, InAcceptsTrailingSlashes)
{
    EXPECT_EQ(ManagedFile::in("/root/", "etc/", "name").live, "/root/etc/name");
}

} // namespace

} // namespace QMT::Test
