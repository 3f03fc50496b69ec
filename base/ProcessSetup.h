#ifndef QMT_ProcessSetup_INCLUDED
#define QMT_ProcessSetup_INCLUDED

namespace QMT
{

/// Makes the process independent of what its caller left behind; to be called first.
///
/// SIGPIPE is caught, so that a reader who went away does not end a write half-way; child programs get its default
/// back. SIGCHLD gets its default: a caller that left it ignored would hide how a child ended, and its failure would
/// count as success. Closed standard streams are opened on /dev/null, so that no file gets their number and receives
/// the console's lines.
void setUpProcess();

} // namespace QMT

#endif // QMT_ProcessSetup_INCLUDED
