#include "ctl/SilentLogger.h"

#include <Poco/AutoPtr.h>
#include <Poco/Logger.h>
#include <Poco/NullChannel.h>

namespace QMT
{

Poco::Logger& silentLogger()
{
    Poco::Logger& logger = Poco::Logger::get("qor_mim_ctl.silent");
    Poco::AutoPtr<Poco::NullChannel> channel(new Poco::NullChannel);
    logger.setChannel(channel);
    return logger;
}

} // namespace QMT
