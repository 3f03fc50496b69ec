#ifndef QMT_Status_INCLUDED
#define QMT_Status_INCLUDED

namespace QMT
{

/// The exit statuses of the companion, the same for all commands.
enum class Status
{
    YES = 0,   ///< shown, healthy, would succeed, done, or nothing to do
    NO = 1,    ///< problems found, would fail, refused, or a decision is needed
    USAGE = 2, ///< the command line is wrong; nothing was done
    BUSY = 3,  ///< another caller or an open session; nothing was done
    CANNOT = 4 ///< cannot find out or cannot do; the message names the file
};

} // namespace QMT

#endif // QMT_Status_INCLUDED
