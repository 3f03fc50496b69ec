#include "ctl/Emphasis.h"

#include <unistd.h>

#include <cstdlib>

namespace QMT
{

namespace
{

std::string variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

std::string coloured(const std::string& text, const std::string& colour)
{
    const bool isWanted = ::isatty(STDOUT_FILENO) == 1 && variable("NO_COLOR").empty() && variable("TERM") != "dumb";
    return isWanted ? "\x1b[" + colour + "m" + text + "\x1b[0m" : text;
}

} // namespace

std::string asError(const std::string& text)
{
    return coloured(text, "1;31");
}

std::string asWarning(const std::string& text)
{
    return coloured(text, "33");
}

} // namespace QMT
