#ifndef QMT_RecoveryOrder_INCLUDED
#define QMT_RecoveryOrder_INCLUDED

#include "ctl/CRecoveryCache.h"
#include "ctl/RecoverySteps.h"

#include <optional>
#include <vector>

namespace QMT
{

/// Orders `steps`, which change the files from `now` to `after`, so that they may be interrupted: a second recovery
/// with the same assumption then leads from any intermediate state to `after`. The backup of the configuration is
/// removed before that of the list.
///
/// If there is no such order, the second recovery may also ask a question. This happens only where `after` does not
/// follow from the files once the session is over. If there is no such order either, the steps keep their order.
///
/// The validator is not run: a verdict that is not known yet may be either.
std::vector<RecoveryStep> inSafeOrder(const std::vector<RecoveryStep>& steps, const FrameworkContents& now,
                                      const FrameworkContents& after, CRecoveryCache& facts,
                                      std::optional<Assumption> assumption);

} // namespace QMT

#endif // QMT_RecoveryOrder_INCLUDED
