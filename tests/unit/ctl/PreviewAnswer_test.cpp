#include "ctl/PreviewAnswer.h"

#include <gtest/gtest.h>

#include <sstream>

namespace QMT::Test
{

namespace
{

using Lines = std::vector<std::string>;

TriedAction tried(const std::string& line, Outcome outcome, const Lines& messages = {})
{
    TriedAction action;
    action.keys = new Poco::JSON::Object;
    action.keys->set("file", line);
    action.line = line;
    action.outcome = outcome;
    action.messages = messages;
    return action;
}

std::string jsonOf(const Answer& answer)
{
    std::ostringstream text;
    answer.keys.stringify(text);
    return text.str();
}

TEST(PreviewAnswer, AnswerOfShowsEachAction)
{
    Preview preview;
    preview.actions = {tried("/a", Outcome::DONE, {"one", "two"}), tried("/b", Outcome::SKIPPED, {"three"})};

    const Answer answer = answerOf(preview, "fine", Status::YES);

    EXPECT_EQ(answer.status, Status::YES);
    EXPECT_EQ(jsonOf(answer), R"({"result":"fine","actions":[{"file":"/a","messages":["one","two"],"result":"done"},)"
                              R"({"file":"/b","messages":["three"],"result":"skipped"}],)"
                              R"("validator":"not-asked","report":""})");
    EXPECT_EQ(answer.text, "fine\n  done     /a\n  skipped  /b\n");
    EXPECT_EQ(answer.messages, (Lines{"one", "two", "three"}));
    EXPECT_EQ(answer.error, "");
}

TEST(PreviewAnswer, AnswerOfNamesEveryFailedAction)
{
    Preview preview;
    preview.actions = {tried("/a", Outcome::FAILED), tried("/b", Outcome::DONE), tried("/c", Outcome::FAILED)};

    const Answer answer = answerOf(preview, "refused", Status::NO);

    EXPECT_EQ(answer.status, Status::NO);
    EXPECT_EQ(answer.error, "failed: /a; /c");
    EXPECT_EQ(answer.text, "refused\n  failed   /a\n  done     /b\n  failed   /c\n");
    EXPECT_EQ(jsonOf(answer), R"({"result":"refused","actions":[{"file":"/a","messages":[],"result":"failed"},)"
                              R"({"file":"/b","messages":[],"result":"done"},)"
                              R"({"file":"/c","messages":[],"result":"failed"}],)"
                              R"("validator":"not-asked","report":""})");
}

TEST(PreviewAnswer, AnswerOfDoesNotChangeTheActions)
{
    Preview preview;
    preview.actions = {tried("/a", Outcome::DONE)};

    static_cast<void>(answerOf(preview, "fine", Status::YES));

    EXPECT_EQ(preview.actions.front().keys->getNames(), Lines{"file"});
}

TEST(PreviewAnswer, AnswerOfShowsTheVerdict)
{
    Preview preview;
    const std::vector<std::pair<Judgement::Verdict, std::string>> verdicts = {
        {Judgement::Verdict::ACCEPTED, "accepted"},
        {Judgement::Verdict::REJECTED, "rejected"},
        {Judgement::Verdict::ABSENT, "absent"}};
    for (const auto& [verdict, name] : verdicts)
    {
        preview.judgement = Judgement{verdict, "", ""};

        const Answer answer = answerOf(preview, "r", Status::NO);

        EXPECT_EQ(jsonOf(answer), R"({"result":"r","actions":[],"validator":")" + name + R"(","report":""})");
        EXPECT_EQ(answer.text, "r\nvalidator: " + name + "\n");
        EXPECT_EQ(answer.messages, Lines());
    }
}

TEST(PreviewAnswer, AnswerOfShowsReportAndMessageOfTheValidator)
{
    Preview preview;
    preview.judgement = Judgement{Judgement::Verdict::REJECTED, "bad\x1B\nline", "it crashed"};

    const Answer answer = answerOf(preview, "rejected", Status::NO);

    EXPECT_EQ(answer.text, "rejected\nvalidator: rejected\nbad\\x1b\nline\n");
    EXPECT_EQ(answer.keys.getValue<std::string>("report"), "bad\x1B\nline");
    EXPECT_EQ(answer.messages, Lines{"it crashed"});
}

} // namespace

} // namespace QMT::Test
