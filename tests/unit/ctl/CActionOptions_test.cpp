#include "ctl/CActionOptions.h"

#include <Poco/Exception.h>
#include <Poco/Util/Option.h>
#include <Poco/Util/OptionSet.h>

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

using Words = std::vector<std::pair<std::string, std::string>>;

CActionOptions taken(const Words& words)
{
    CActionOptions options;
    for (const auto& [name, value] : words)
    {
        EXPECT_TRUE(options.take(name, value));
    }
    options.check();
    return options;
}

/// What is wrong with `words`; empty when nothing is.
std::string errorOf(const Words& words)
{
    try
    {
        taken(words);
        return std::string();
    }
    catch (const Poco::SyntaxException& exc)
    {
        return exc.message();
    }
}

void expectAction(const Action& action, CmdID kind, const std::string& text)
{
    EXPECT_EQ(action.kind, kind);
    EXPECT_EQ(action.text(), text);
}

TEST(ActionOptions, DefineAllowsEachOptionForEachAction)
{
    Poco::Util::OptionSet options;

    CActionOptions::define(options);

    for (const Poco::Util::Option& option : options)
    {
        EXPECT_TRUE(option.repeatable()) << option.fullName();
    }
}

TEST(ActionOptions, TakeStartsAnActionAtEachAddAndRemove)
{
    const std::vector<Action> actions = taken({{"add", "/a"},
                                               {"remove", "/b"},
                                               {"add", "c"},
                                               {"tr-version", "3"},
                                               {"handler", "h"},
                                               {"remove", "/d"},
                                               {"handler", "i"},
                                               {"add", "/e"},
                                               {"handler", "j"},
                                               {"mo-version", "2"}})
                                            .actions();

    ASSERT_EQ(actions.size(), 5U);
    expectAction(actions[0], CmdID::AddModelFile, "/a");
    expectAction(actions[1], CmdID::RemoveModelFile, "/b");
    expectAction(actions[2], CmdID::AddModelFileWithHandler, "c|h|1|3");
    expectAction(actions[3], CmdID::RemoveModelFileWithHandler, "/d|i|1|1");
    expectAction(actions[4], CmdID::AddModelFileWithHandler, "/e|j|2|1");
}

TEST(ActionOptions, TakeReturnsFalseForOtherOptions)
{
    EXPECT_FALSE(CActionOptions().take("wait", "1"));
    EXPECT_TRUE(taken({}).actions().empty());
}

TEST(ActionOptions, TakeThrowsBeforeTheFirstAction)
{
    EXPECT_EQ(errorOf({{"handler", "h"}}), "--handler stands before the first --add or --remove");
    EXPECT_EQ(errorOf({{"mo-version", "1"}}), "--mo-version stands before the first --add or --remove");
    EXPECT_EQ(errorOf({{"tr-version", "1"}}), "--tr-version stands before the first --add or --remove");
}

TEST(ActionOptions, TakeThrowsForARepeatedOption)
{
    EXPECT_EQ(errorOf({{"add", "/a"}, {"handler", "h"}, {"handler", "h"}}), "--handler is given twice for /a");
    EXPECT_EQ(errorOf({{"add", "/a"}, {"mo-version", "1"}, {"mo-version", "2"}}), "--mo-version is given twice for /a");
    EXPECT_EQ(errorOf({{"add", "/a"}, {"tr-version", "1"}, {"tr-version", "2"}}), "--tr-version is given twice for /a");
}

TEST(ActionOptions, CheckThrowsForVersionsWithoutAHandler)
{
    EXPECT_EQ(errorOf({{"add", "/a"}, {"mo-version", "1"}}), "There are versions without a --handler: /a");
    EXPECT_EQ(errorOf({{"add", "/a"}, {"tr-version", "1"}, {"add", "/b"}}),
              "There are versions without a --handler: /a");
}

TEST(ActionOptions, CheckThrowsForVersionsOfARemoval)
{
    EXPECT_EQ(errorOf({{"remove", "/a"}, {"handler", "h"}, {"mo-version", "1"}}), "A removal has no versions: /a");
    EXPECT_EQ(errorOf({{"remove", "/a"}, {"tr-version", "1"}, {"add", "/b"}}), "A removal has no versions: /a");
}

} // namespace

} // namespace QMT::Test
