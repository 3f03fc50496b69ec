#include "support/CapturedLog.h"

#include <Poco/Logger.h>

namespace QMT::Test
{

Messages info(const std::vector<std::string>& texts)
{
    Messages messages;
    for (const std::string& text : texts)
    {
        messages.emplace_back(Poco::Message::PRIO_INFORMATION, text);
    }
    return messages;
}

class CapturedLog::Recorder : public Poco::Channel
{
public:
    void log(const Poco::Message& message) override
    {
        messages.emplace_back(message.getPriority(), message.getText());
    }

    Messages messages;
};

CapturedLog::CapturedLog()
    : _recorder(new Recorder),
      _logger(&Poco::Logger::create("ConsoleLogger", _recorder, Poco::Message::PRIO_INFORMATION))
{
}

CapturedLog::~CapturedLog()
{
    Poco::Logger::destroy("ConsoleLogger");
}

Poco::Logger* CapturedLog::logger() const
{
    return _logger;
}

const Messages& CapturedLog::messages() const
{
    return _recorder->messages;
}

void CapturedLog::clear()
{
    _recorder->messages.clear();
}

void CapturedLog::reattach()
{
    _logger->setChannel(_recorder);
}

} // namespace QMT::Test
