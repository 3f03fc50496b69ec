#include "ctl/CRemedies.h"

#include "ctl/FrameworkDirectory.h"

#include <Poco/Ascii.h>
#include <Poco/String.h>

#include <algorithm>
#include <string_view>

namespace QMT
{

CRemedies::CRemedies(const std::string& qorPath) : _qorPath(qorPath)
{
}

void CRemedies::keepEqual(const std::string& live, const std::string& workingCopy)
{
    _workingCopies[live] = workingCopy;
}

std::string CRemedies::call(const std::string& words)
{
    return "qor_mim_ctl " + words + (isFoundWithoutOption() ? "" : " --qor-path=" + shellWord(_qorPath));
}

std::string CRemedies::commit()
{
    return "qor_mim_tool --commit" + (isFoundWithoutOption() ? "" : ", called so that it works on " + _qorPath);
}

bool CRemedies::isFoundWithoutOption()
{
    if (!_isFound)
    {
        _isFound = findFramework() == _qorPath;
    }
    return *_isFound;
}

std::string CRemedies::edit(const std::string& path, const std::string& what) const
{
    return "in " + path + ", " + what + copyOf(path, "; then, for the open session: ");
}

std::string CRemedies::command(const std::string& path, const std::string& words) const
{
    return words + copyOf(path, " && ");
}

std::string CRemedies::copyOf(const std::string& path, const std::string& introduction) const
{
    const auto copy = _workingCopies.find(path);
    if (copy == _workingCopies.end())
    {
        return std::string();
    }
    return introduction + "cp " + shellWord(path) + " " + shellWord(copy->second);
}

std::string shellWord(const std::string& word)
{
    const auto isPlain = [](char c)
    { return Poco::Ascii::isAlphaNumeric(c) || std::string_view("_@%+=:,./-").find(c) != std::string_view::npos; };
    if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain))
    {
        return word;
    }
    return "'" + Poco::replace(word, std::string("'"), std::string("'\\''")) + "'";
}

} // namespace QMT
