#include "ctl/UndisturbedLook.h"

#include "ctl/CCallerLock.h"

namespace QMT
{

Answer lookUndisturbed(const std::string& qorPath, const std::function<Answer()>& look)
{
    std::string holder = CCallerLock::holderOf(qorPath);
    if (!holder.empty())
    {
        return Answer::failure(Status::BUSY, holder);
    }
    Answer answer = look();
    // What another caller is doing may look like an interruption, or like a session.
    holder = CCallerLock::holderOf(qorPath);
    return holder.empty() ? answer : Answer::failure(Status::BUSY, holder);
}

} // namespace QMT
