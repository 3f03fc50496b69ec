#ifndef QMT_Process_INCLUDED
#define QMT_Process_INCLUDED

namespace QMT
{

/// Runs the tool in a process as its caller started it. `argc` and `argv` are those of main.
///
/// Returns the driver's result, or 78 when the options cannot be processed, or 70 when an exception ended the driver.
/// An exception of another kind leaves the operation after all objects are cleaned up.
int runProcess(int argc, char** argv);

} // namespace QMT

#endif // QMT_Process_INCLUDED
