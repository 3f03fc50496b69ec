#include "ctl/ListFindings.h"

#include "support/Findings.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

const std::string TAKE_OFF = "; or, in /f/list, remove every line with its path";

std::vector<Finding> findIn(const std::vector<InstalledModel>& models, const std::string& list = "line\n")
{
    CRemedies remedies("/f");
    return findInList("/f/list", list, models, remedies);
}

/// The findings for one listed model file in the state `state`.
std::vector<Finding> findOf(ModelState state)
{
    return findIn({{"/m", state, ""}});
}

TEST(ListFindings, FindReturnsNothingForASoundList)
{
    EXPECT_EQ(findIn({{"/a", ModelState::READ, "A"}, {"/b", ModelState::READ, "A"}}, "/a\n/b\n"), NO_FINDING);
    EXPECT_EQ(findIn({}, ""), NO_FINDING);
}

TEST(ListFindings, FindReportsEveryFaultOfAModelFile)
{
    using Findings = std::vector<Finding>;

    EXPECT_EQ(findOf(ModelState::MISSING),
              (Findings{{FindingId::MODEL_MISSING, "/m", "the model file does not exist", "put it back" + TAKE_OFF}}));
    EXPECT_EQ(findOf(ModelState::UNREADABLE),
              (Findings{{FindingId::MODEL_UNREADABLE, "/m", "the model file cannot be read",
                         "make it a file that the caller may read" + TAKE_OFF}}));
    EXPECT_EQ(findOf(ModelState::MALFORMED), (Findings{{FindingId::MODEL_UNREADABLE, "/m",
                                                        "the model file cannot be parsed", "correct it" + TAKE_OFF}}));
    EXPECT_EQ(findOf(ModelState::NAMELESS),
              (Findings{{FindingId::MODEL_UNREADABLE, "/m", "the root class has no name",
                         "give a name to the element that holds the element root" + TAKE_OFF}}));
    EXPECT_EQ(findOf(ModelState::ROOTLESS), (Findings{{FindingId::MODEL_ROOTLESS, "/m",
                                                       "the model file has no root class, so no handler can serve it",
                                                       "put an element root into its root class" + TAKE_OFF}}));
    EXPECT_EQ(findOf(ModelState::RELATIVE), (Findings{{FindingId::MODEL_RELATIVE, "/m", "the path is not absolute",
                                                       "in /f/list, write the absolute path in its line"}}));
}

TEST(ListFindings, FindReportsAModelFileListedTwiceOnce)
{
    EXPECT_EQ(
        findIn({{"/m", ModelState::MISSING, ""}, {"/m", ModelState::MISSING, ""}, {"/m", ModelState::MISSING, ""}}),
        (std::vector<Finding>{
            {FindingId::MODEL_MISSING, "/m", "the model file does not exist", "put it back" + TAKE_OFF},
            {FindingId::MODEL_TWICE, "/m", "the model file is listed more than once",
             "in /f/list, remove all of its lines but one"}}));
}

TEST(ListFindings, FindReportsAPathThatIsPartOfAnother)
{
    EXPECT_EQ(findIn({{"/m/a", ModelState::READ, "A"}, {"/m/a.xml", ModelState::READ, "B"}}),
              (std::vector<Finding>{{FindingId::MODEL_CONTAINED, "/m/a", "the path is part of the line /m/a.xml",
                                     "move the model file to a path that is part of no other line, and in /f/list, "
                                     "write that path in its line"}}));
}

TEST(ListFindings, FindReportsAMissingLastLineFeed)
{
    EXPECT_EQ(
        findIn({{"/m", ModelState::READ, "A"}}, "/m"),
        (std::vector<Finding>{{FindingId::LIST_END, "/f/list", "the last line has no line feed", "echo >>/f/list"}}));
}

} // namespace

} // namespace QMT::Test
