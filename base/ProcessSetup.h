#ifndef QMT_ProcessSetup_INCLUDED
#define QMT_ProcessSetup_INCLUDED

namespace QMT
{

/// Resets what the process may have inherited from its caller; to be called first.
///
/// SIGPIPE is caught, so that a closed pipe does not end the process during a write; child programs get its default
/// back. SIGCHLD gets its default: a caller that left it ignored would hide how a child ended, and its failure would
/// count as success. Closed standard streams are opened on /dev/null, so that no file gets their number and receives
/// the console's lines.
void setUpProcess();

} // namespace QMT

#endif // QMT_ProcessSetup_INCLUDED
