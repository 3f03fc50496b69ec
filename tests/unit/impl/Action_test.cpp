#include "impl/Action.h"

#include <gtest/gtest.h>

#include <vector>

namespace QMT::Test
{

namespace
{

const std::vector<CmdID> KINDS = {CmdID::AddModelFile,
                                  CmdID::ModelHandler,
                                  CmdID::RemoveModelFile,
                                  CmdID::AddModelFileWithHandler,
                                  CmdID::RemoveModelFileWithHandler,
                                  CmdID(7)};

std::vector<std::string> ofEachKind(std::string (Action::*text)() const)
{
    std::vector<std::string> texts;
    for (const CmdID kind : KINDS)
    {
        texts.push_back((Action{kind, "/m", "h", "2", "3"}.*text)());
    }
    return texts;
}

TEST(Action, TextHasTheFieldsOfItsKind)
{
    EXPECT_EQ(ofEachKind(&Action::text), (std::vector<std::string>{"/m", "h|2|3", "/m", "/m|h|2|3", "/m|h|2|3", "/m"}));
}

TEST(Action, StatusLineShowsAnUnknownKindAsItsText)
{
    const std::string versions = "--modelHandler=h --managedObjectVersion=2 --transactionalResourceVersion=3";

    EXPECT_EQ(
        ofEachKind(&Action::statusLine),
        (std::vector<std::string>{"--addModelFile=/m", versions, "--removeModelFile=/m",
                                  "--addModelFile=/m " + versions, "--removeModelFile=/m --modelHandler=h", "/m"}));
}

TEST(Action, StagingLineDiffersForAHandlerAndAnUnknownKind)
{
    const std::string versions = "--modelHandler=h --managedObjectVersion=2 --transactionalResourceVersion=3";

    EXPECT_EQ(ofEachKind(&Action::stagingLine),
              (std::vector<std::string>{"--addModelFile=/m", " " + versions, "--removeModelFile=/m",
                                        "--addModelFile=/m " + versions, "--removeModelFile=/m --modelHandler=h", ""}));
}

} // namespace

} // namespace QMT::Test
