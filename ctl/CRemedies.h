#ifndef QMT_CRemedies_INCLUDED
#define QMT_CRemedies_INCLUDED

#include <map>
#include <optional>
#include <string>

namespace QMT
{

/// Writes remedies that can be typed literally.
class CRemedies
{
public:
    /// For the framework directory `qorPath`.
    explicit CRemedies(const std::string& qorPath);

    /// From now on a remedy that changes the file at `live` also copies it to its working copy at `workingCopy`: a
    /// commit drops the open session when a live file differs from its working copy.
    void keepEqual(const std::string& live, const std::string& workingCopy);

    /// A call of the companion with `words`, and with --qor-path if the companion would find another framework
    /// directory without it. The first call runs the framework agent to find out.
    std::string call(const std::string& words);

    /// The commit of the open session by the tool, for the same framework.
    std::string commit();

    /// An edit of the file at `path`, described by `what`.
    std::string edit(const std::string& path, const std::string& what) const;

    /// A command for the shell that changes the file at `path`.
    std::string command(const std::string& path, const std::string& words) const;

private:
    bool isFoundWithoutOption();
    std::string copyOf(const std::string& path, const std::string& introduction) const;

    const std::string _qorPath;
    std::optional<bool> _isFound; ///< whether it is found without an option, once that is known
    std::map<std::string, std::string> _workingCopies;
};

/// `word`, quoted for the shell where needed.
std::string shellWord(const std::string& word);

} // namespace QMT

#endif // QMT_CRemedies_INCLUDED
