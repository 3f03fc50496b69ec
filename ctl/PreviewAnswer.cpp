#include "ctl/PreviewAnswer.h"

#include "ctl/PrintedText.h"

#include <Poco/JSON/Array.h>

namespace QMT
{

using Poco::JSON::Array;

namespace
{

std::string nameOf(Outcome outcome)
{
    switch (outcome)
    {
    case Outcome::DONE:
        return "done";
    case Outcome::SKIPPED:
        return "skipped";
    case Outcome::FAILED:
        break;
    }
    return "failed";
}

std::string nameOf(const std::optional<Judgement>& judgement)
{
    if (!judgement)
    {
        return "not-asked";
    }
    switch (judgement->verdict)
    {
    case Judgement::Verdict::ACCEPTED:
        return "accepted";
    case Judgement::Verdict::REJECTED:
        return "rejected";
    case Judgement::Verdict::ABSENT:
        break;
    }
    return "absent";
}

Array::Ptr actionsOf(const Preview& preview)
{
    Array::Ptr actions = Poco::makeShared<Array>();
    for (const TriedAction& action : preview.actions)
    {
        Poco::JSON::Object::Ptr keys = Poco::makeShared<Poco::JSON::Object>(*action.keys);
        keys->set("result", nameOf(action.outcome));
        keys->set("messages", arrayOf(action.messages));
        actions->add(keys);
    }
    return actions;
}

std::string padded(const std::string& word)
{
    const std::string::size_type WIDTH = 9;

    return word + std::string(WIDTH - word.size(), ' ');
}

std::string endedWithLineFeed(const std::string& text)
{
    return text.empty() || text.back() == '\n' ? text : text + "\n";
}

} // namespace

Answer answerOf(const Preview& preview, const std::string& result, Status status)
{
    const std::string report = preview.judgement ? preview.judgement->report : std::string();
    Answer answer;
    answer.status = status;
    answer.keys.set("result", result);
    answer.keys.set("actions", actionsOf(preview));
    answer.keys.set("validator", nameOf(preview.judgement));
    answer.keys.set("report", report);
    answer.text = result + "\n";
    for (const TriedAction& action : preview.actions)
    {
        answer.text += "  " + padded(nameOf(action.outcome)) + action.line + "\n";
        answer.messages.insert(answer.messages.end(), action.messages.begin(), action.messages.end());
        if (action.outcome == Outcome::FAILED)
        {
            answer.error += (answer.error.empty() ? "failed: " : "; ") + action.line;
        }
    }
    if (preview.judgement)
    {
        answer.text += "validator: " + nameOf(preview.judgement) + "\n" + endedWithLineFeed(printableLines(report));
        if (!preview.judgement->message.empty())
        {
            answer.messages.push_back(preview.judgement->message);
        }
    }
    return answer;
}

} // namespace QMT
