#include "ctl/CMessageLog.h"

#include <Poco/Channel.h>
#include <Poco/Message.h>

#include <utility>

namespace QMT
{

namespace
{

const std::string NAME = "qor_mim_ctl.messages";

} // namespace

class CMessageLog::CChannel : public Poco::Channel
{
public:
    void log(const Poco::Message& message) override
    {
        messages.push_back(message.getText());
    }

    std::vector<std::string> messages;
};

CMessageLog::CMessageLog() : _channel(Poco::makeAuto<CChannel>())
{
    logger().setChannel(_channel);
    logger().setLevel(Poco::Message::PRIO_INFORMATION);
}

CMessageLog::~CMessageLog()
{
    Poco::Logger::destroy(NAME);
}

Poco::Logger& CMessageLog::logger() const
{
    return Poco::Logger::get(NAME);
}

std::vector<std::string> CMessageLog::take()
{
    return std::exchange(_channel->messages, {});
}

} // namespace QMT
