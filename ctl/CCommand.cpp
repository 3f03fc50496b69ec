#include "ctl/CCommand.h"

namespace QMT
{

CCommand::~CCommand() = default;

void CCommand::defineOptions(Poco::Util::OptionSet&) const
{
}

void CCommand::takeOption(const std::string&, const std::string&)
{
}

void CCommand::checkOptions() const
{
}

Poco::JSON::Object CCommand::keysOfFailure() const
{
    return Poco::JSON::Object(Poco::JSON_PRESERVE_KEY_ORDER);
}

} // namespace QMT
