#include "app/Process.h"

#include "app/CQorModelTool.h"
#include "app/CQorModelToolWrapper.h"
#include "base/ProcessSetup.h"
#include "impl/CQorModelToolImpl.h"

#include <Poco/AutoPtr.h>
#include <Poco/ConsoleChannel.h>
#include <Poco/Exception.h>
#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/Message.h>
#include <Poco/PatternFormatter.h>

#include <memory>

namespace QMT
{

namespace
{

int run(int argc, char** argv)
{
    auto formatter = Poco::makeAuto<Poco::PatternFormatter>("%s: %p: %t");
    auto channel = Poco::makeAuto<Poco::FormattingChannel>(formatter);
    auto console = Poco::makeAuto<Poco::ConsoleChannel>();
    channel->setChannel(console);
    channel->open();
    Poco::Logger& logger = Poco::Logger::create("ConsoleLogger", channel, Poco::Message::PRIO_INFORMATION);

    const auto impl = std::make_unique<CQorModelToolImpl>(&logger);
    const auto tool = std::make_unique<CQorModelTool>(impl.get(), &logger);
    auto application = Poco::makeAuto<CQorModelToolWrapper>(*tool);
    // The application object has just put a bare console channel on every logger.
    logger.setChannel(channel);
    try
    {
        application->init(argc, argv);
    }
    catch (const Poco::Exception& exc)
    {
        application->logger().log(exc);
        return Poco::Util::Application::EXIT_CONFIG;
    }
    return application->run();
}

} // namespace

int runProcess(int argc, char** argv)
{
    setUpProcess();
    try
    {
        return run(argc, argv);
    }
    catch (...)
    {
        // Without a handler the stack need not be unwound, and the objects would not be cleaned up.
        throw;
    }
}

} // namespace QMT
