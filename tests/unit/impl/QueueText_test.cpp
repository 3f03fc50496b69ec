#include "impl/QueueText.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

using Fault = QueueText::Fault;
using Entries = std::vector<CommandQueueEntry>;

TEST(QueueText, ReadReturnsTheActionsOldestFirst)
{
    const QueueText queue = readQueueText("2:/m/a.xml\n\n 7 : b \n");

    EXPECT_EQ(queue.entries, (Entries{{CmdID::RemoveModelFile, "/m/a.xml"}, {static_cast<CmdID>(7), "b"}}));
    EXPECT_EQ(queue.fault, Fault::NONE);
}

TEST(QueueText, ReadIsIncompleteWithoutAnAction)
{
    const QueueText queue = readQueueText(" \n");

    EXPECT_EQ(queue.entries, Entries());
    EXPECT_EQ(queue.fault, Fault::INCOMPLETE);
}

TEST(QueueText, ReadKeepsTheActionsBeforeAMissingText)
{
    const QueueText queue = readQueueText("0:/m/a.xml\n3");

    EXPECT_EQ(queue.entries, (Entries{{CmdID::AddModelFile, "/m/a.xml"}}));
    EXPECT_EQ(queue.fault, Fault::INCOMPLETE);
}

TEST(QueueText, ReadKeepsTheActionsBeforeAnInvalidKind)
{
    const QueueText queue = readQueueText("0:/m/a.xml\nx:/m/b.xml\n0:/m/c.xml\n");

    EXPECT_EQ(queue.entries, (Entries{{CmdID::AddModelFile, "/m/a.xml"}}));
    EXPECT_EQ(queue.fault, Fault::NO_KIND);
}

TEST(QueueText, ReadReportsIncompleteBeforeAnInvalidKind)
{
    const QueueText queue = readQueueText("0:/m/a:b.xml\n0:/m/c.xml\n");

    EXPECT_EQ(queue.entries, (Entries{{CmdID::AddModelFile, "/m/a"}}));
    EXPECT_EQ(queue.fault, Fault::INCOMPLETE);
}

} // namespace

} // namespace QMT::Test
