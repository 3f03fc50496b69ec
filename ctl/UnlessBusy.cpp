#include "ctl/UnlessBusy.h"

#include "ctl/CCallerLock.h"

namespace QMT
{

Answer readUnlessBusy(const std::string& qorPath, const std::function<Answer()>& read)
{
    std::string holder = CCallerLock::holderOf(qorPath);
    if (!holder.empty())
    {
        return Answer::failure(Status::BUSY, holder);
    }
    Answer answer = read();
    // What another caller is doing may look like an interruption, or like a session.
    holder = CCallerLock::holderOf(qorPath);
    return holder.empty() ? answer : Answer::failure(Status::BUSY, holder);
}

} // namespace QMT
