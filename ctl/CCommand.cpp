#include "ctl/CCommand.h"

namespace QMT
{

CCommand::~CCommand() = default;

void CCommand::checkOptions() const
{
}

} // namespace QMT
