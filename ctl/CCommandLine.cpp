#include "ctl/CCommandLine.h"

#include <Poco/Exception.h>
#include <Poco/NumberParser.h>
#include <Poco/Util/HelpFormatter.h>
#include <Poco/Util/Option.h>
#include <Poco/Util/OptionException.h>
#include <Poco/Util/OptionProcessor.h>
#include <Poco/Util/OptionSet.h>

#include <algorithm>
#include <cctype>
#include <ostream>

namespace QMT
{

using Poco::Util::Option;
using Poco::Util::OptionSet;

namespace
{

const std::string HELP = "help";
const std::string VERSION = "version";
const std::string JSON = "json";
const std::string QOR_PATH = "qor-path";

OptionSet optionsOf(const CCommand* command)
{
    OptionSet options;
    options.addOption(Option(HELP, "", "Display this help."));
    options.addOption(Option(VERSION, "", "Display the version."));
    options.addOption(Option(JSON, "", "Answer with one JSON object."));
    options.addOption(
        Option(QOR_PATH, "", "The framework directory; found as qor_mim_tool finds it unless given.").argument("DIR"));
    if (command != nullptr)
    {
        command->defineOptions(options);
    }
    return options;
}

/// Whether the words ask for JSON, found without parsing the others, for a command line that is wrong.
bool asksForJson(const std::vector<std::string>& words)
{
    return std::find(words.begin(), words.end(), "--" + JSON) != words.end();
}

bool isOption(const std::string& word)
{
    return !word.empty() && word.front() == '-';
}

} // namespace

CCommandLine::CCommandLine(const std::vector<std::string>& words) : _json(asksForJson(words))
{
    try
    {
        findCommand(words);
        takeOptions(words);
        if (_command != nullptr && !_help && !_version)
        {
            _command->checkOptions();
        }
    }
    catch (const Poco::SyntaxException& exc)
    {
        fail(exc.message());
    }
    catch (const Poco::Util::OptionException& exc)
    {
        fail(exc.displayText());
    }
}

CCommandLine::~CCommandLine() = default;

const std::string& CCommandLine::error() const
{
    return _error;
}

CCommand* CCommandLine::command() const
{
    return _command.get();
}

bool CCommandLine::isHelpWanted() const
{
    return _help;
}

bool CCommandLine::isVersionWanted() const
{
    return _version;
}

bool CCommandLine::isJsonWanted() const
{
    return _json;
}

const std::optional<std::string>& CCommandLine::qorPath() const
{
    return _qorPath;
}

void CCommandLine::findCommand(const std::vector<std::string>& words)
{
    if (words.empty() || isOption(words.front()))
    {
        return;
    }
    for (std::unique_ptr<CCommand>& command : allCommands())
    {
        if (command->name() == words.front())
        {
            _command = std::move(command);
            return;
        }
    }
    throw Poco::SyntaxException("There is no command " + words.front());
}

void CCommandLine::takeOptions(const std::vector<std::string>& words)
{
    const OptionSet options = optionsOf(_command.get());
    Poco::Util::OptionProcessor processor(options);
    bool isValueDue = false;
    for (auto word = words.begin() + (_command == nullptr ? 0 : 1); word != words.end(); ++word)
    {
        // The library would take the next option as the missing value.
        if (isValueDue && isOption(*word))
        {
            break;
        }
        std::string name;
        std::string value;
        if (*word == "--" || !processor.process(*word, name, value))
        {
            throw Poco::SyntaxException("There is no use for the argument " + *word);
        }
        isValueDue = name.empty();
        if (!isValueDue)
        {
            if (value.empty() && options.getOption(name).takesArgument())
            {
                throw Poco::SyntaxException("The value of --" + name + " is empty");
            }
            takeOption(name, value);
        }
    }
    processor.checkRequired();
    if (_command == nullptr && !_help && !_version)
    {
        throw Poco::SyntaxException("A command is missing");
    }
}

void CCommandLine::fail(const std::string& error)
{
    _error = error;
    _help = false;
    _version = false;
}

void CCommandLine::takeOption(const std::string& name, const std::string& value)
{
    if (name == HELP)
    {
        _help = true;
    }
    else if (name == VERSION)
    {
        _version = true;
    }
    else if (name == JSON)
    {
        _json = true;
    }
    else if (name == QOR_PATH)
    {
        _qorPath = value;
    }
    else
    {
        _command->takeOption(name, value);
    }
}

void CCommandLine::displayHelp(std::ostream& out) const
{
    const int WIDTH = 100;

    const OptionSet options = optionsOf(_command.get());
    Poco::Util::HelpFormatter formatter(options);
    formatter.setCommand("qor_mim_ctl");
    formatter.setAutoIndent();
    formatter.setWidth(WIDTH);
    if (_command != nullptr)
    {
        formatter.setUsage(_command->name() + " [OPTION]...");
        formatter.setHeader(_command->summary());
    }
    else
    {
        std::string header = "Commands:";
        for (const std::unique_ptr<CCommand>& command : allCommands())
        {
            header += "\n  " + command->name() + std::string(10 - command->name().size(), ' ') + command->summary();
        }
        formatter.setUsage("COMMAND [OPTION]...");
        formatter.setHeader(header);
    }
    formatter.format(out);
}

Option waitOption()
{
    return Option("wait", "", "How long to wait for another caller or session; 0 unless given.").argument("SECONDS");
}

unsigned int secondsOf(const std::string& option, const std::string& text)
{
    const std::string::size_type MAX_DIGITS = 6;

    const bool isNumber = std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
    if (!isNumber || text.empty() || text.size() > MAX_DIGITS)
    {
        throw Poco::SyntaxException("The value of --" + option + " is no number of seconds: " + text);
    }
    return Poco::NumberParser::parseUnsigned(text);
}

} // namespace QMT
