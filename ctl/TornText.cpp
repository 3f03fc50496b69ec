#include "ctl/TornText.h"

#include <Poco/StringTokenizer.h>

#include <algorithm>

namespace QMT
{

bool isPrefixOf(const std::string& text, const std::string& whole)
{
    return text.size() < whole.size() && whole.compare(0, text.size(), text) == 0;
}

bool isNulFilledFrom(const std::string& text, const std::string& whole)
{
    if (text.find('\0') == std::string::npos || whole.find('\0') != std::string::npos)
    {
        return false;
    }
    const std::string::size_type shared = std::min(text.size(), whole.size());
    const bool isSame = std::equal(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(shared), whole.begin(),
                                   [](char present, char expected) { return present == '\0' || present == expected; });
    return isSame && text.find_first_not_of('\0', shared) == std::string::npos;
}

bool isTornCopyOf(const std::string& text, const std::string& whole)
{
    return isPrefixOf(text, whole) || isNulFilledFrom(text, whole);
}

bool endsInsideLine(const std::string& text)
{
    return !text.empty() && text.back() != '\n';
}

std::vector<std::string> linesOf(const std::string& text)
{
    const Poco::StringTokenizer lines(text, "\n", Poco::StringTokenizer::TOK_IGNORE_EMPTY);
    return std::vector<std::string>(lines.begin(), lines.end());
}

std::string completeLines(const std::string& text)
{
    const std::string::size_type end = text.substr(0, text.find('\0')).rfind('\n');
    const std::string complete = end == std::string::npos ? std::string() : text.substr(0, end + 1);
    const bool isBlank = complete.find_first_not_of(" \t\r\n\v\f") == std::string::npos;
    return isBlank ? std::string() : complete;
}

} // namespace QMT
