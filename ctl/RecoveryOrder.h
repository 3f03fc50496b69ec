#ifndef QMT_RecoveryOrder_INCLUDED
#define QMT_RecoveryOrder_INCLUDED

#include "ctl/CRecoveryMemory.h"
#include "ctl/RecoverySteps.h"

#include <optional>
#include <vector>

namespace QMT
{

/// Puts `steps`, which lead from the files `now` to `after`, in an order in which they may be interrupted between any
/// two: whatever is left is read, with the same assumption, to the same end. The backup of the configuration is removed
/// before that of the list.
///
/// Where there is no such order, what is left is read to the same end or asked about. That happens only where `after`
/// itself cannot be told any more once the session is over. Where there is no such order either, the steps stay as they
/// are.
///
/// The validator is not asked: what it has not said of the live list may be either.
std::vector<RecoveryStep> inSafeOrder(const std::vector<RecoveryStep>& steps, const FrameworkContents& now,
                                      const FrameworkContents& after, CRecoveryMemory& facts,
                                      std::optional<Assumption> assumption);

} // namespace QMT

#endif // QMT_RecoveryOrder_INCLUDED
