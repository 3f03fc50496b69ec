#include "ctl/DocumentFindings.h"

#include "support/Findings.h"
#include "support/TemporaryFramework.h"

#include <gtest/gtest.h>

namespace QMT::Test
{

namespace
{

const std::string IN = "in /f/qor.cfg, ";

Handler handler(const std::string& name, const std::vector<std::string>& rootClasses = {})
{
    return {name, "1", "1", rootClasses};
}

class DocumentFindings : public testing::Test
{
protected:
    /// The findings in a document with `handlers` in one container.
    std::vector<Finding> findIn(const std::vector<Handler>& handlers,
                                const std::optional<std::vector<InstalledModel>>& models = std::nullopt)
    {
        return findInDocument("/f/qor.cfg", Configuration{handlers, 1}, models, remedies);
    }

    TemporaryFramework framework;
    CRemedies remedies{framework.path()};
};

TEST_F(DocumentFindings, FindReturnsNothingForASoundDocument)
{
    EXPECT_EQ(findIn({handler("VELDA_OAM_COMPONENT"), handler("a", {"A", "B"}), handler("b", {"C"})},
                     std::vector<InstalledModel>{
                         {"/a", ModelState::READ, "A"}, {"/b", ModelState::READ, "B"}, {"/c", ModelState::READ, "C"}}),
              NO_FINDING);
}

TEST_F(DocumentFindings, FindReportsAMissingContainer)
{
    EXPECT_EQ(findInDocument("/f/qor.cfg", Configuration{}, std::nullopt, remedies),
              (std::vector<Finding>{{FindingId::PARTICIPANTS_NOT_ONE, "/f/qor.cfg", "there is no element participants",
                                     IN + "put all participant elements into one element participants"}}));
}

TEST_F(DocumentFindings, FindReportsSeveralContainers)
{
    EXPECT_EQ(findInDocument("/f/qor.cfg", Configuration{{}, 3}, std::nullopt, remedies),
              (std::vector<Finding>{
                  {FindingId::PARTICIPANTS_NOT_ONE, "/f/qor.cfg", "there are 3 elements participants",
                   IN + "move all participant elements into the first element participants, and remove the others"}}));
}

TEST_F(DocumentFindings, FindReportsAPlaceholderAfterAHandler)
{
    EXPECT_EQ(findIn({handler("a"), handler("VELDA_OAM_COMPONENT")}),
              (std::vector<Finding>{{FindingId::PLACEHOLDER_NOT_FIRST, "/f/qor.cfg",
                                     "the placeholder is handler number 2, and will never be taken over",
                                     IN + "move its participant before all others"}}));
}

TEST_F(DocumentFindings, FindReportsASecondPlaceholder)
{
    EXPECT_EQ(findIn({handler("VELDA_OAM_COMPONENT"), handler("VELDA_OAM_COMPONENT")}),
              (std::vector<Finding>{{FindingId::PLACEHOLDER_NOT_FIRST, "/f/qor.cfg",
                                     "the placeholder is handler number 2, and will never be taken over",
                                     IN + "move its root entries into the first participant, and remove its own"},
                                    {FindingId::HANDLER_TWICE, "/f/qor.cfg",
                                     "2 participants have the handler name VELDA_OAM_COMPONENT",
                                     IN + "move their root entries into the first of them, and remove the others"}}));
}

TEST_F(DocumentFindings, FindReportsEachRepeatedHandlerNameOnce)
{
    EXPECT_EQ(findIn({handler("a"), handler("b"), handler("b"), handler("a"), handler("b"), handler(""), handler("")}),
              (std::vector<Finding>{{FindingId::HANDLER_TWICE, "/f/qor.cfg", "2 participants have the handler name a",
                                     IN + "move their root entries into the first of them, and remove the others"},
                                    {FindingId::HANDLER_TWICE, "/f/qor.cfg", "3 participants have the handler name b",
                                     IN + "move their root entries into the first of them, and remove the others"}}));
}

TEST_F(DocumentFindings, FindReportsEachRepeatedRootClassOnce)
{
    EXPECT_EQ(findIn({handler("a", {"A", "B", "B"}), handler("", {"A", "A"}), handler("c", {"C", "A", "", ""})}),
              (std::vector<Finding>{{FindingId::ROOT_TWICE, "/f/qor.cfg",
                                     "the root class A is served 4 times, by a, participant number 2, c",
                                     IN + "remove all entries <root name=\"A\"/> but the first"},
                                    {FindingId::ROOT_TWICE, "/f/qor.cfg", "the root class B is served 2 times, by a",
                                     IN + "remove all entries <root name=\"B\"/> but the first"}}));
}

TEST_F(DocumentFindings, FindReportsRootClassesOfNoListedModel)
{
    EXPECT_EQ(
        findIn({handler("a", {"A", "", "B"}), handler("b", {"C"})},
               std::vector<InstalledModel>{{"/a", ModelState::READ, "A"}, {"/b", ModelState::MISSING, ""}}),
        (std::vector<Finding>{
            {FindingId::ROOT_UNLISTED, "/f/qor.cfg", "there is a root entry without a name, in a",
             IN + "remove the root entries without a name"},
            {FindingId::ROOT_UNLISTED, "/f/qor.cfg", "no listed model file has the root class B, which is served by a",
             "qor_mim_ctl apply --add=FILE for the model file that has it; or, if it has gone, " + IN +
                 "remove its root entry"},
            {FindingId::ROOT_UNLISTED, "/f/qor.cfg", "no listed model file has the root class C, which is served by b",
             "qor_mim_ctl apply --add=FILE for the model file that has it; or, if it has gone, " + IN +
                 "remove its root entry"}}));
}

TEST_F(DocumentFindings, FindSkipsRootClassesWithoutAList)
{
    EXPECT_EQ(findIn({handler("a", {"A"})}), NO_FINDING);
}

} // namespace

} // namespace QMT::Test
