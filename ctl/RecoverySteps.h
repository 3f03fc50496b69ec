#ifndef QMT_RecoverySteps_INCLUDED
#define QMT_RecoverySteps_INCLUDED

#include "ctl/FrameworkContents.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// One change of one file on the way to a recovered framework.
struct RecoveryStep
{
    std::string path;
    std::optional<std::string> content; ///< what it shall hold; none when it is to be removed
    std::string like;                   ///< whose attributes it gets
    std::string text;                   ///< what is done, for people
    ManagedContent file = nullptr;      ///< the one at `path`
};

/// The steps from the files `now` of the framework directory `qorPath` to `after`, in the usual order.
std::vector<RecoveryStep> recoverySteps(const std::string& qorPath, const FrameworkContents& now,
                                        const FrameworkContents& after);

/// Copies the files that the steps replace or remove to a new directory of the framework directory `qorPath`, named by
/// the time `stamp`. On return the copy is on the disk. Returns the directory.
///
/// Throws a Poco::FileException when that cannot be done; nothing of the copy is left then. Its code is ENOSPC, and its
/// message has the number of bytes that are needed, when there is no room.
std::string copyAside(const std::string& qorPath, const std::string& stamp, const std::vector<RecoveryStep>& steps);

/// Does the step, on the disk on return. Returns what could not be kept of a file's attributes, a line each. Throws a
/// Poco::FileException when it cannot be done; the file is then as it was.
std::vector<std::string> execute(const RecoveryStep& step);

} // namespace QMT

#endif // QMT_RecoverySteps_INCLUDED
