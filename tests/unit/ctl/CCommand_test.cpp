#include "ctl/CCommand.h"

#include <Poco/Util/OptionSet.h>

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

class PlainCommand : public CCommand
{
public:
    std::string name() const override
    {
        return "plain";
    }

    std::string summary() const override
    {
        return "Do nothing.";
    }

    Answer run(const std::string&) override
    {
        return Answer();
    }
};

TEST(Command, HasNoOptionsAndNoKeysByDefault)
{
    PlainCommand command;
    Poco::Util::OptionSet options;

    command.defineOptions(options);
    command.takeOption("any", "value");
    command.checkOptions();

    EXPECT_EQ(options.begin(), options.end());
    EXPECT_EQ(command.keysOfFailure().size(), 0U);
}

} // namespace

} // namespace QMT::Test
