#ifndef QMT_CCommandLine_INCLUDED
#define QMT_CCommandLine_INCLUDED

#include "ctl/CCommand.h"

#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Poco::Util
{
class Option;
} // namespace Poco::Util

namespace QMT
{

/// Parses a command line of the companion: the command, and the options that every command has. The command
/// receives its own options in their order.
class CCommandLine
{
public:
    /// `words` is the command line without the program's name.
    ///
    /// error() reports an invalid command line. command() and isJsonWanted() then return what could be determined.
    explicit CCommandLine(const std::vector<std::string>& words);
    ~CCommandLine();
    CCommandLine(const CCommandLine&) = delete;
    CCommandLine& operator=(const CCommandLine&) = delete;
    CCommandLine(CCommandLine&&) = delete;
    CCommandLine& operator=(CCommandLine&&) = delete;

    /// The error in the command line, or an empty string.
    const std::string& error() const;

    /// The command, or null when none is given or known.
    CCommand* command() const;

    bool isHelpWanted() const;
    bool isVersionWanted() const;
    bool isJsonWanted() const;

    /// The framework directory, if it was given.
    const std::optional<std::string>& qorPath() const;

    /// Writes the help of the command, or of the program when there is none, to `out`.
    void displayHelp(std::ostream& out) const;

private:
    void findCommand(const std::vector<std::string>& words);
    void takeOptions(const std::vector<std::string>& words);
    void takeOption(const std::string& name, const std::string& value);
    void fail(const std::string& error);

    std::unique_ptr<CCommand> _command;
    std::string _error;
    bool _help = false;
    bool _version = false;
    bool _json = false;
    std::optional<std::string> _qorPath;
};

/// The option --wait of the commands that can wait for another caller or session.
Poco::Util::Option waitOption();

/// The number of seconds that `text`, the value of the option `option`, stands for. Throws a Poco::SyntaxException with
/// a message when it is not a number of at most six digits.
unsigned int secondsOf(const std::string& option, const std::string& text);

} // namespace QMT

#endif // QMT_CCommandLine_INCLUDED
