#ifndef QMT_CActionOptions_INCLUDED
#define QMT_CActionOptions_INCLUDED

#include "impl/Action.h"

#include <string>
#include <vector>

namespace Poco::Util
{
class OptionSet;
} // namespace Poco::Util

namespace QMT
{

/// The options that describe actions. Each --add and --remove begins one; what follows belongs to it.
class CActionOptions
{
public:
    /// Adds the options to `options`.
    static void define(Poco::Util::OptionSet& options);

    /// Records an option, in the order of the command line; false for an option of another kind. Throws a
    /// Poco::SyntaxException with a message when the option is misplaced or repeated, or begins an action after an
    /// invalid one.
    bool take(const std::string& name, const std::string& value);

    /// Checks the last action, which no further option completes. Throws like take.
    void check() const;

    /// The actions, their paths as they were given.
    std::vector<Action> actions() const;

private:
    /// An action being parsed; its kind is known once all of its options are.
    struct Wanted
    {
        bool isRemoval;
        std::string path;
        std::string handler;
        std::string moVersion;
        std::string trVersion;
    };

    using Field = std::string Wanted::*;

    void record(const std::string& name, Field field, const std::string& value);

    std::vector<Wanted> _wanted;
};

} // namespace QMT

#endif // QMT_CActionOptions_INCLUDED
