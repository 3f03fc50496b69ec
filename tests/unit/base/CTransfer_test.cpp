#include "base/CTransfer.h"

#include "support/Files.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

TEST(Transfer, CopiesAFile)
{
    const TemporaryDirectory directory;
    const std::string from = directory.write("from", "text");

    CTransfer().copy(from, directory.path("to"));

    EXPECT_EQ(readFile(directory.path("to")), "text");
    EXPECT_TRUE(exists(from));
}

TEST(Transfer, MovesAFile)
{
    const TemporaryDirectory directory;
    const std::string from = directory.write("from", "text");

    CTransfer().move(from, directory.path("to"));

    EXPECT_EQ(readFile(directory.path("to")), "text");
    EXPECT_FALSE(exists(from));
}

} // namespace

} // namespace QMT::Test
