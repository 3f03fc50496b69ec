#include "ctl/SessionOwner.h"

#include "ctl/TornText.h"

#include <Poco/Ascii.h>
#include <Poco/String.h>

#include <algorithm>

namespace QMT
{

namespace
{

const std::string APPLY_MARK = "qor_mim_ctl@";

/// The first word, as the tool reads it.
std::string firstWord(const std::string& text)
{
    const auto isSpace = [](char c) { return Poco::Ascii::isSpace(c); };
    const auto begin = std::find_if_not(text.begin(), text.end(), isSpace);
    return std::string(begin, std::find_if(begin, text.end(), isSpace));
}

} // namespace

bool SessionOwner::mayBeOurs() const
{
    return isThisHost || isTruncated;
}

SessionOwner sessionOwner(const std::string& lock, const std::string& thisHost)
{
    const std::string word = firstWord(lock);
    const std::string ours = applyLockContent(thisHost);
    SessionOwner owner;
    owner.isApply = Poco::startsWith(word, APPLY_MARK) ||
                    (!word.empty() && isPrefixOf(word, APPLY_MARK) && !isPrefixOf(word, thisHost) && word != thisHost);
    owner.host = Poco::startsWith(word, APPLY_MARK) ? word.substr(APPLY_MARK.size()) : word;
    owner.isThisHost = word == thisHost || word == ours;
    owner.isTruncated = !owner.isThisHost &&
                        (lock.find('\0') != std::string::npos || isPrefixOf(word, thisHost) || isPrefixOf(word, ours));
    return owner;
}

std::string applyLockContent(const std::string& host)
{
    return APPLY_MARK + host;
}

} // namespace QMT
