#ifndef QMT_UndisturbedLook_INCLUDED
#define QMT_UndisturbedLook_INCLUDED

#include "ctl/Answer.h"

#include <functional>
#include <string>

namespace QMT
{

/// The answer of `look`, which reads the framework directory `qorPath` without the lock of the callers. The status is
/// BUSY instead when another caller holds that lock before `look` or after it.
Answer lookUndisturbed(const std::string& qorPath, const std::function<Answer()>& look);

} // namespace QMT

#endif // QMT_UndisturbedLook_INCLUDED
