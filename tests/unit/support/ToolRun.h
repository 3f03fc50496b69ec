#ifndef QMT_TEST_ToolRun_INCLUDED
#define QMT_TEST_ToolRun_INCLUDED

#include "support/CapturedLog.h"

#include <string>
#include <vector>

namespace QMT::Test
{

/// What one run of the tool left behind, apart from files.
struct ToolRun
{
    int status = 0;
    Messages log;
    Messages systemLog;
    std::string output;

    /// The lines that the application framework itself wrote to the console.
    std::string frameworkLog;
};

/// Runs the tool's objects with the options `arguments` from construction to destruction, as the process would. The
/// framework directory is the one that QORPATH names; the message about the missing agent is left out.
ToolRun runTool(const std::vector<std::string>& arguments);

} // namespace QMT::Test

#endif // QMT_TEST_ToolRun_INCLUDED
