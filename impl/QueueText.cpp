#include "impl/QueueText.h"

#include <Poco/Exception.h>
#include <Poco/NumberParser.h>
#include <Poco/StringTokenizer.h>

namespace QMT
{

QueueText readQueueText(const std::string& text)
{
    const Poco::StringTokenizer tokens(
        text, "\n:", Poco::StringTokenizer::TOK_IGNORE_EMPTY | Poco::StringTokenizer::TOK_TRIM);
    const bool isComplete = tokens.count() != 0 && tokens.count() % 2 == 0;
    QueueText queue;
    queue.fault = isComplete ? QueueText::Fault::NONE : QueueText::Fault::INCOMPLETE;
    try
    {
        for (std::size_t i = 0; i + 1 < tokens.count(); i += 2)
        {
            const auto kind = static_cast<CmdID>(Poco::NumberParser::parse(tokens[i]));
            queue.entries.emplace_back(kind, tokens[i + 1]);
        }
    }
    catch (const Poco::SyntaxException&)
    {
        queue.fault = isComplete ? QueueText::Fault::NO_KIND : QueueText::Fault::INCOMPLETE;
    }
    return queue;
}

} // namespace QMT
