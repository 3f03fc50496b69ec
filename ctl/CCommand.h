#ifndef QMT_CCommand_INCLUDED
#define QMT_CCommand_INCLUDED

#include "ctl/Answer.h"

#include <memory>
#include <string>
#include <vector>

namespace Poco::Util
{
class OptionSet;
} // namespace Poco::Util

namespace QMT
{

/// One command of the companion, with its options. An object serves one call.
class CCommand
{
public:
    CCommand() = default;
    virtual ~CCommand();
    CCommand(const CCommand&) = delete;
    CCommand& operator=(const CCommand&) = delete;
    CCommand(CCommand&&) = delete;
    CCommand& operator=(CCommand&&) = delete;

    /// The word by which it is called.
    virtual std::string name() const = 0;

    /// One line for the help.
    virtual std::string summary() const = 0;

    /// Adds the command's own options; the common ones are there already. A command may have none.
    virtual void defineOptions(Poco::Util::OptionSet& options) const;

    /// Records the option `name` of its own, in the order of the command line. `value` is empty for an option without
    /// one, and only then. Throws a Poco::SyntaxException with a message when the value is wrong.
    virtual void takeOption(const std::string& name, const std::string& value);

    /// Checks the options together, after the last one was taken. Throws like takeOption.
    virtual void checkOptions() const;

    /// The command's own keys that even the answer of a failed call has. Usually none.
    virtual Poco::JSON::Object keysOfFailure() const;

    /// Runs the command on the framework directory `qorPath`, which exists. An exception that it throws becomes the
    /// status CANNOT with the exception's text as the error, so the text must name the file.
    virtual Answer run(const std::string& qorPath) = 0;
};

/// All commands, in the order of the help.
std::vector<std::unique_ptr<CCommand>> allCommands();

} // namespace QMT

#endif // QMT_CCommand_INCLUDED
