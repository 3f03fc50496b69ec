#ifndef QMT_UnlessBusy_INCLUDED
#define QMT_UnlessBusy_INCLUDED

#include "ctl/Answer.h"

#include <functional>
#include <string>

namespace QMT
{

/// The answer of `read`, which reads the framework directory `qorPath` without the lock of the callers. The status is
/// BUSY instead when another caller holds that lock before `read` or after it.
Answer readUnlessBusy(const std::string& qorPath, const std::function<Answer()>& read);

} // namespace QMT

#endif // QMT_UnlessBusy_INCLUDED
