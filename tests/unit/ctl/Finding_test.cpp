#include "ctl/Finding.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace QMT::Test
{

namespace
{

TEST(Finding, NamesAndSeveritiesStayFixed)
{
    const std::vector<std::string> expected = {"agent-missing warning",
                                               "validator-missing warning",
                                               "configuration-missing error",
                                               "list-missing error",
                                               "configuration-unreadable error",
                                               "list-unreadable error",
                                               "participants-not-one error",
                                               "placeholder-not-first warning",
                                               "handler-twice error",
                                               "root-twice error",
                                               "root-unlisted warning",
                                               "model-missing error",
                                               "model-unreadable error",
                                               "model-rootless warning",
                                               "model-relative error",
                                               "model-twice warning",
                                               "model-contained warning",
                                               "list-end error",
                                               "session-foreign warning",
                                               "session-stale error",
                                               "session-leftover warning",
                                               "session-invalid error",
                                               "live-changed error",
                                               "commit-interrupted error",
                                               "rollback-interrupted error",
                                               "ownership warning"};
    std::vector<std::string> found;
    for (int id = 0; id <= static_cast<int>(FindingId::OWNERSHIP); ++id)
    {
        const auto finding = static_cast<FindingId>(id);
        found.push_back(nameOf(finding) + (isError(finding) ? " error" : " warning"));
    }

    EXPECT_EQ(found, expected);
}

} // namespace

} // namespace QMT::Test
