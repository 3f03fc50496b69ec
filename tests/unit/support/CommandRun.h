#ifndef QMT_TEST_CommandRun_INCLUDED
#define QMT_TEST_CommandRun_INCLUDED

#include "ctl/CCommand.h"

#include <string>
#include <utility>
#include <vector>

namespace QMT::Test
{

/// Names and values of options, in the order of the command line.
using OptionValues = std::vector<std::pair<std::string, std::string>>;

/// Runs `command` with `options` on the framework directory `qorPath`.
Answer runCommand(CCommand& command, const OptionValues& options, const std::string& qorPath);

/// The text of the answer's key `key`.
std::string valueOf(const Answer& answer, const std::string& key);

/// The results of the answer's actions.
std::vector<std::string> resultsOf(const Answer& answer);

} // namespace QMT::Test

#endif // QMT_TEST_CommandRun_INCLUDED
