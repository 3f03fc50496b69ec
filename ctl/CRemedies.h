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

    /// From now on a change of the file at `live` has to be made in its working copy at `workingCopy` too: a session is
    /// open, and its commit would take a difference for somebody else's work and undo itself.
    void keepEqual(const std::string& live, const std::string& workingCopy);

    /// A call of the companion with these words. It names the framework directory if the companion would find another
    /// one without it; to know that, the framework agent is run.
    std::string call(const std::string& words);

    /// An edit of the file at `path`, described by `what`.
    std::string edit(const std::string& path, const std::string& what) const;

    /// A command for the shell that changes the file at `path`.
    std::string command(const std::string& path, const std::string& words) const;

private:
    std::string copyOf(const std::string& path, const std::string& introduction) const;

    const std::string _qorPath;
    std::optional<std::string> _qorPathOption; ///< once it is known
    std::map<std::string, std::string> _workingCopies;
};

/// `word`, quoted for the shell where needed.
std::string shellWord(const std::string& word);

} // namespace QMT

#endif // QMT_CRemedies_INCLUDED
