#include "ctl/Waiting.h"

#include <Poco/Thread.h>

namespace QMT
{

Deadline deadlineIn(unsigned int seconds)
{
    return std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
}

bool waitUntil(Deadline deadline, const std::function<bool()>& isDone)
{
    const long PAUSE = 50; // milliseconds

    while (!isDone())
    {
        if (std::chrono::steady_clock::now() >= deadline)
        {
            return false;
        }
        Poco::Thread::sleep(PAUSE);
    }
    return true;
}

} // namespace QMT
