#include "ctl/CCommand.h"

namespace QMT
{

std::vector<std::unique_ptr<CCommand>> allCommands()
{
    std::vector<std::unique_ptr<CCommand>> commands;
    return commands;
}

} // namespace QMT
