#include "ctl/CCommand.h"

#include "ctl/CApplyCommand.h"
#include "ctl/CCheckCommand.h"
#include "ctl/CPlanCommand.h"
#include "ctl/CRecoverCommand.h"
#include "ctl/CShowCommand.h"

namespace QMT
{

std::vector<std::unique_ptr<CCommand>> allCommands()
{
    std::vector<std::unique_ptr<CCommand>> commands;
    commands.push_back(std::make_unique<CShowCommand>());
    commands.push_back(std::make_unique<CCheckCommand>());
    commands.push_back(std::make_unique<CPlanCommand>());
    commands.push_back(std::make_unique<CApplyCommand>());
    commands.push_back(std::make_unique<CRecoverCommand>());
    return commands;
}

} // namespace QMT
