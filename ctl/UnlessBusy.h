#ifndef QMT_UnlessBusy_INCLUDED
#define QMT_UnlessBusy_INCLUDED

#include "ctl/Answer.h"
#include "ctl/Waiting.h"

#include <functional>
#include <string>

namespace QMT
{

/// The answer of `read`, which reads the framework directory `qorPath` without the lock of the callers. The status is
/// BUSY instead when another caller holds that lock before `read` or after it.
Answer readUnlessBusy(const std::string& qorPath, const std::function<Answer()>& read);

/// The answer of `change`, which runs under the lock of the callers of `qorPath`. The status is BUSY instead when
/// another caller holds that lock until `deadline`. A signal that is caught meanwhile ends the wait and gives
/// Answer::endedBySignal. Throws like CCallerLock.
Answer changeUnlessBusy(const std::string& qorPath, Deadline deadline, const std::function<Answer()>& change);

} // namespace QMT

#endif // QMT_UnlessBusy_INCLUDED
