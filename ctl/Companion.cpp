#include "ctl/Companion.h"

#include "ctl/CCommandLine.h"
#include "ctl/FrameworkDirectory.h"
#include "ctl/PrintedText.h"

#include <Poco/Exception.h>

#include <exception>
#include <optional>
#include <ostream>
#include <sstream>

namespace QMT
{

namespace
{

Answer cannot(const CCommandLine& commandLine, const std::string& error)
{
    Answer answer = Answer::failure(Status::CANNOT, error);
    answer.keys = commandLine.command()->keysOfFailure();
    return answer;
}

Answer runCommand(const CCommandLine& commandLine, std::optional<std::string>& framework)
{
    try
    {
        framework = commandLine.qorPath() ? withoutTrailingSlashes(*commandLine.qorPath()) : findFramework();
        if (!framework)
        {
            return cannot(commandLine, "the framework directory cannot be determined");
        }
        requireDirectory(*framework);
        return commandLine.command()->run(*framework);
    }
    catch (const Poco::Exception& exc)
    {
        return cannot(commandLine, exc.displayText());
    }
    catch (const std::exception& exc)
    {
        return cannot(commandLine, exc.what());
    }
}

std::string jsonOf(const CCommand* command, const std::optional<std::string>& framework, const Answer& answer)
{
    Poco::JSON::Object object(Poco::JSON_PRESERVE_KEY_ORDER);
    object.set("command", command == nullptr ? Poco::Dynamic::Var() : Poco::Dynamic::Var(command->name()));
    object.set("framework", framework ? Poco::Dynamic::Var(*framework) : Poco::Dynamic::Var());
    object.set("status", static_cast<int>(answer.status));
    for (const std::string& key : answer.keys.getNames())
    {
        object.set(key, answer.keys.get(key));
    }
    if (answer.status > Status::NO)
    {
        object.set("error", answer.error);
    }
    std::ostringstream text;
    object.stringify(text);
    return validUtf8(text.str()) + "\n";
}

/// Writes the answer `text` to `out`. Returns the status to end with.
int finish(Status status, const std::string& text, std::ostream& out, std::ostream& console)
{
    // An answer without a text cannot be lost.
    if (!text.empty() && !(out << text << std::flush))
    {
        console << "qor_mim_ctl: the answer could not be written" << std::endl;
        return static_cast<int>(Status::CANNOT);
    }
    return static_cast<int>(status);
}

} // namespace

int runCompanion(const std::vector<std::string>& words, std::ostream& out, std::ostream& console)
{
    const CCommandLine commandLine(words);
    if (commandLine.isHelpWanted())
    {
        std::ostringstream help;
        commandLine.displayHelp(help);
        return finish(Status::YES, help.str(), out, console);
    }
    if (commandLine.isVersionWanted())
    {
        return finish(Status::YES, "qor_mim_ctl " QMT_VERSION "\n", out, console);
    }
    std::optional<std::string> framework;
    const Answer answer = commandLine.error().empty()
                              ? runCommand(commandLine, framework)
                              : Answer::failure(Status::USAGE, commandLine.error() + " (see qor_mim_ctl --help)");
    for (const std::string& message : answer.messages)
    {
        console << printableLines(message) << std::endl;
    }
    if (!answer.error.empty())
    {
        console << "qor_mim_ctl: " << printable(answer.error) << std::endl;
    }
    const std::string text =
        commandLine.isJsonWanted() ? jsonOf(commandLine.command(), framework, answer) : answer.text;
    return finish(answer.status, text, out, console);
}

} // namespace QMT
