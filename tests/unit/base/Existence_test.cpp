#include "base/Existence.h"

#include "support/FailingCall.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace QMT::Test
{

namespace
{

TEST(Existence, IsPresentForAnyKindOfFile)
{
    const TemporaryDirectory directory;
    putPipeAt(directory.path("pipe"));

    EXPECT_EQ(existenceOf(directory.path()), Existence::PRESENT);
    EXPECT_EQ(existenceOf(directory.path("pipe")), Existence::PRESENT);
}

TEST(Existence, IsAbsentWhenNoFileCanBeThere)
{
    for (const int error : {ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG})
    {
        const FailingCall failing("stat", "/some/file", error);

        EXPECT_EQ(existenceOf("/some/file"), Existence::ABSENT) << error;
    }
}

TEST(Existence, IsUnknownForOtherErrors)
{
    for (const int error : {EACCES, EIO})
    {
        const FailingCall failing("stat", "/some/file", error);

        EXPECT_EQ(existenceOf("/some/file"), Existence::UNKNOWN) << error;
    }
}

} // namespace

} // namespace QMT::Test
