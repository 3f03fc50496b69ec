#include "support/ToolRun.h"

#include "app/CQorModelTool.h"
#include "app/CQorModelToolWrapper.h"
#include "impl/CQorModelToolImpl.h"
#include "support/CapturedOutput.h"
#include "support/CapturedSystemLog.h"

#include <Poco/AutoPtr.h>
#include <Poco/Exception.h>

#include <iostream>

namespace QMT::Test
{

namespace
{

int start(CQorModelToolWrapper& application, const std::vector<std::string>& arguments)
{
    std::vector<std::string> all = {"/usr/sbin/qor_mim_tool"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    try
    {
        application.init(all);
    }
    catch (const Poco::Exception&)
    {
        return Poco::Util::Application::EXIT_CONFIG;
    }
    return application.run();
}

/// The message about the missing agent comes first.
Messages withoutAgentFailure(Messages messages)
{
    const Messages::value_type failure = {Poco::Message::PRIO_INFORMATION, "Exception"};
    if (!messages.empty() && messages.front() == failure)
    {
        messages.erase(messages.begin());
    }
    return messages;
}

} // namespace

ToolRun runTool(const std::vector<std::string>& arguments)
{
    ToolRun run;
    CapturedLog log;
    CapturedSystemLog systemLog;
    {
        const CapturedOutput output;
        const CapturedOutput console(std::clog);
        CQorModelToolImpl impl(log.logger());
        CQorModelTool tool(&impl, log.logger());
        Poco::AutoPtr<CQorModelToolWrapper> application(new CQorModelToolWrapper(tool));
        log.reattach();
        run.status = start(*application, arguments);
        run.output = output.text();
        run.frameworkLog = console.text();
    }
    run.log = withoutAgentFailure(log.messages());
    run.systemLog = systemLog.messages();
    return run;
}

} // namespace QMT::Test
