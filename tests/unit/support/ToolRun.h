#ifndef QMT_TEST_ToolRun_INCLUDED
#define QMT_TEST_ToolRun_INCLUDED

#include "support/CapturedLog.h"

#include <string>
#include <vector>

namespace QMT::Test
{

/// The output and exit status of one run of the tool.
struct ToolRun
{
    int status = 0;
    Messages log;
    Messages systemLog;
    std::string output;

    /// The lines on the console from the application framework itself.
    std::string frameworkLog;
};

/// Runs the tool's objects with the options `arguments`, from construction to destruction, like the process. QORPATH
/// names the framework directory; the message about the missing agent is omitted.
ToolRun runTool(const std::vector<std::string>& arguments);

} // namespace QMT::Test

#endif // QMT_TEST_ToolRun_INCLUDED
