#ifndef QMT_RecoverySteps_INCLUDED
#define QMT_RecoverySteps_INCLUDED

#include "ctl/FrameworkContents.h"

#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// One file operation of a recovery.
struct RecoveryStep
{
    std::string path;
    std::optional<std::string> content; ///< the new content; none to remove the file
    std::string like;                   ///< the file whose attributes it gets
    std::string text;                   ///< the description for the answer
    ManagedContent file = nullptr;      ///< the member of FrameworkContents for `path`
};

/// The steps that change the files of the framework directory `qorPath` from `now` to `after`, in the default order.
std::vector<RecoveryStep> recoverySteps(const std::string& qorPath, const FrameworkContents& now,
                                        const FrameworkContents& after);

/// Copies the files that the steps replace or remove to a new directory below the framework directory `qorPath`, whose
/// name contains the time `stamp`. Returns that directory. The copies are synced on return.
///
/// Throws a Poco::FileException on failure, after removing the new directory. If the disk is full, the code is ENOSPC,
/// and the message has the number of bytes needed.
std::string copyAside(const std::string& qorPath, const std::string& stamp, const std::vector<RecoveryStep>& steps);

/// Executes the step and syncs it. Returns the file attributes that were not kept, one line each. Throws like
/// replaceFile and removeFile.
std::vector<std::string> execute(const RecoveryStep& step);

} // namespace QMT

#endif // QMT_RecoverySteps_INCLUDED
