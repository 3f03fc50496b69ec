#include "ctl/UnlessBusy.h"

#include "base/CSignalCatcher.h"
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

Answer changeUnlessBusy(const std::string& qorPath, Deadline deadline, const std::function<Answer()>& change)
{
    CCallerLock lock(qorPath);
    bool isTaken = false;
    const auto isDecided = [&]
    {
        isTaken = lock.tryToTake();
        return isTaken || CSignalCatcher::hasCaught();
    };
    static_cast<void>(waitUntil(deadline, isDecided));
    if (CSignalCatcher::hasCaught())
    {
        return Answer::endedBySignal();
    }
    return isTaken ? change() : Answer::failure(Status::BUSY, lock.holder());
}

} // namespace QMT
