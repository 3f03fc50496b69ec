#ifndef QMT_Companion_INCLUDED
#define QMT_Companion_INCLUDED

#include <iosfwd>
#include <string>
#include <vector>

namespace QMT
{

/// Runs one call of the companion: parses the command line, finds the framework, runs the command, and writes its
/// answer.
///
/// `words` is the command line without the program's name. The answer is written to `out`, messages and errors to
/// `console`. Returns the exit status. An answer that could not be written is reported on `console`, with the status
/// CANNOT.
int runCompanion(const std::vector<std::string>& words, std::ostream& out, std::ostream& console);

} // namespace QMT

#endif // QMT_Companion_INCLUDED
