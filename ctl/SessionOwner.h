#ifndef QMT_SessionOwner_INCLUDED
#define QMT_SessionOwner_INCLUDED

#include <string>

namespace QMT
{

/// The owner of a session, from its lock file.
struct SessionOwner
{
    std::string host;         ///< its name; empty when the file holds none
    bool isApply = false;     ///< the session of an `apply`, not of staging calls
    bool isThisHost = false;  ///< the name is that of this host
    bool isTruncated = false; ///< the file was not written whole: it holds nothing, NUL, or a proper prefix of what
                              ///< this host writes into it

    /// Whether this host may end the session: it is its own, or the lock file is too incomplete to say otherwise.
    bool mayBeOurs() const;
};

/// Parses the content of a lock file; `thisHost` is the name of this host.
SessionOwner sessionOwner(const std::string& lock, const std::string& thisHost);

/// The content of a lock file of an `apply` on the host `host`.
std::string applyLockContent(const std::string& host);

} // namespace QMT

#endif // QMT_SessionOwner_INCLUDED
