#include "ctl/ActionAnswer.h"

#include "support/CapturedSystemLog.h"

#include <gtest/gtest.h>

#include <sstream>

namespace QMT::Test
{

namespace
{

std::string textOf(const Poco::JSON::Object::Ptr& keys)
{
    std::ostringstream text;
    keys->stringify(text);
    return text.str();
}

std::string keysOf(int kind, const std::string& text)
{
    return textOf(actionKeys(CommandQueueEntry(static_cast<CmdID>(kind), text)));
}

std::string lineOf(int kind, const std::string& text)
{
    return actionLine(CommandQueueEntry(static_cast<CmdID>(kind), text));
}

TEST(ActionAnswer, ActionKeysHoldTheFieldsOfTheKind)
{
    EXPECT_EQ(keysOf(0, "/m|x"), R"({"kind":"AddModelFile","file":"/m|x"})");
    EXPECT_EQ(keysOf(1, "h|2|3"),
              R"({"kind":"ModelHandler","handler":"h","managedObjectVersion":"2","transactionalResourceVersion":"3"})");
    EXPECT_EQ(keysOf(2, "/m"), R"({"kind":"RemoveModelFile","file":"/m"})");
    EXPECT_EQ(keysOf(3, "/m|h|2|3"), R"({"kind":"AddModelFileWithHandler","file":"/m","handler":"h",)"
                                     R"("managedObjectVersion":"2","transactionalResourceVersion":"3"})");
    EXPECT_EQ(keysOf(4, "/m|h|2|3"), R"({"kind":"RemoveModelFileWithHandler","file":"/m","handler":"h",)"
                                     R"("managedObjectVersion":"2","transactionalResourceVersion":"3"})");
}

TEST(ActionAnswer, ActionKeysHoldTheTextOfAnUnknownKind)
{
    EXPECT_EQ(keysOf(5, "/m|h|2|3"), R"({"kind":"5","text":"/m|h|2|3"})");
    EXPECT_EQ(keysOf(-1, "x"), R"({"kind":"-1","text":"x"})");
}

TEST(ActionAnswer, ActionKeysHoldATextWithoutSeparators)
{
    const CapturedSystemLog systemLog;

    EXPECT_EQ(keysOf(1, "h"), R"({"kind":"ModelHandler","text":"h"})");
    EXPECT_EQ(keysOf(3, "/m"), R"({"kind":"AddModelFileWithHandler","text":"/m"})");
    EXPECT_EQ(keysOf(4, "/m"), R"({"kind":"RemoveModelFileWithHandler","text":"/m"})");

    EXPECT_TRUE(systemLog.messages().empty());
}

TEST(ActionAnswer, ActionKeysOfAnActionEqualThoseOfItsEntry)
{
    EXPECT_EQ(textOf(actionKeys(Action{CmdID::AddModelFileWithHandler, "/m", "h", "2", "3"})), keysOf(3, "/m|h|2|3"));
}

TEST(ActionAnswer, ActionLineShowsTheOptions)
{
    EXPECT_EQ(lineOf(0, "/m\x1b[1m"), "--addModelFile=/m\\x1b[1m");
    EXPECT_EQ(lineOf(4, "/m|h|1|1"), "--removeModelFile=/m --modelHandler=h");
}

TEST(ActionAnswer, ActionLineShowsKindAndTextWithoutOptions)
{
    EXPECT_EQ(lineOf(7, "a\tb"), "7: a\\tb");
    EXPECT_EQ(lineOf(3, "/m"), "AddModelFileWithHandler: /m");
}

} // namespace

} // namespace QMT::Test
