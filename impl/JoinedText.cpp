#include "impl/JoinedText.h"

namespace QMT
{

// Not the library's Poco::cat, which leaves out the separator behind an empty first word.
std::string joinedText(const std::vector<std::string>& words, const std::string& separator)
{
    std::string text;
    std::string before;
    for (const std::string& word : words)
    {
        text += before + word;
        before = separator;
    }
    return text;
}

} // namespace QMT
