#ifndef QMT_PreviewAnswer_INCLUDED
#define QMT_PreviewAnswer_INCLUDED

#include "ctl/Answer.h"
#include "ctl/Preview.h"

#include <string>

namespace QMT
{

/// The answer for `preview` with the result `result`: the keys "result", "actions", "validator" and
/// "report", the same as text, the messages, and why actions failed.
Answer answerOf(const Preview& preview, const std::string& result, Status status);

} // namespace QMT

#endif // QMT_PreviewAnswer_INCLUDED
