#ifndef QMT_CActionChecks_INCLUDED
#define QMT_CActionChecks_INCLUDED

#include "ctl/Preview.h"

#include <map>
#include <string>

namespace QMT
{

class CMessageLog;
class CQueueTrial;

/// Tries the actions of a transaction of the companion one after the other: skips what is in effect, refuses what
/// would do harm, and applies the rest to the trial.
class CActionChecks
{
public:
    /// `trial`, whose document is loaded, and `log`, which has the trial's messages, are not owned.
    CActionChecks(CQueueTrial& trial, CMessageLog& log);

    /// Tries the next action; `wanted` may have a relative path. Throws a Poco::FileException when the copies of the
    /// files cannot be edited.
    TriedAction tryNext(const Action& wanted);

private:
    struct Facts;

    Facts factsOf(const Action& action);
    static bool isInEffect(const Action& action, const Facts& facts);
    std::string refusalOf(const Action& action, const Facts& facts) const;
    void apply(const Action& action, TriedAction& tried);
    const std::string& rootClassOf(const std::string& modelFile);

    CQueueTrial& _trial;
    CMessageLog& _log;
    std::map<std::string, std::string> _rootClasses; ///< of the model files met so far
};

/// `path`, made absolute against the working directory and normalised, unless that would make it name another file. An
/// absolute path is returned unchanged, and so is any path when there is no working directory.
std::string absolutePath(const std::string& path);

} // namespace QMT

#endif // QMT_CActionChecks_INCLUDED
