#include "ctl/SilentLogger.h"

#include <Poco/AutoPtr.h>
#include <Poco/Logger.h>
#include <Poco/NullChannel.h>

namespace QMT
{

Poco::Logger& silentLogger()
{
    Poco::Logger& logger = Poco::Logger::get("qor_mim_ctl.silent");
    logger.setChannel(Poco::makeAuto<Poco::NullChannel>());
    return logger;
}

} // namespace QMT
