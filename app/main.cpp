#include "app/CQorModelTool.h"
#include "app/CQorModelToolWrapper.h"
#include "impl/CQorModelToolImpl.h"

#include <Poco/AutoPtr.h>
#include <Poco/ConsoleChannel.h>
#include <Poco/Exception.h>
#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/Message.h>
#include <Poco/PatternFormatter.h>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <memory>

namespace
{

void ignoreSignal(int)
{
}

/// A reader who went away must not end a commit half-way. A handler, unlike an ignored signal, is not passed on to the
/// programs that the tool starts.
void surviveClosedPipes()
{
    struct sigaction action = {};
    action.sa_handler = ignoreSignal;
    static_cast<void>(::sigaction(SIGPIPE, &action, nullptr));
}

/// A caller may have handed down that the end of children is ignored. The validator's verdict would be lost, and count
/// as an acceptance.
void heedChildren()
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    static_cast<void>(::sigaction(SIGCHLD, &action, nullptr));
}

/// A file that gets the number of a closed standard stream would receive the console's lines.
void occupyStandardStreams()
{
    int descriptor = STDIN_FILENO;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
    {
        descriptor = ::open("/dev/null", O_RDWR);
    }
    static_cast<void>(::close(descriptor));
}

int run(int argc, char** argv)
{
    Poco::AutoPtr<Poco::PatternFormatter> formatter(new Poco::PatternFormatter("%s: %p: %t"));
    Poco::AutoPtr<Poco::FormattingChannel> channel(new Poco::FormattingChannel(formatter));
    Poco::AutoPtr<Poco::ConsoleChannel> console(new Poco::ConsoleChannel);
    channel->setChannel(console);
    channel->open();
    Poco::Logger& logger = Poco::Logger::create("ConsoleLogger", channel, Poco::Message::PRIO_INFORMATION);

    const auto impl = std::make_unique<QMT::CQorModelToolImpl>(&logger);
    const auto tool = std::make_unique<QMT::CQorModelTool>(impl.get(), &logger);
    Poco::AutoPtr<QMT::CQorModelToolWrapper> application(new QMT::CQorModelToolWrapper(*tool));
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

int main(int argc, char** argv)
{
    surviveClosedPipes();
    heedChildren();
    occupyStandardStreams();
    try
    {
        return run(argc, argv);
    }
    catch (...)
    {
        // Without a handler anywhere the objects would not be cleaned up before the process ends.
        throw;
    }
}
