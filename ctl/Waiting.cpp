#include "ctl/Waiting.h"

#include <Poco/Thread.h>

#include <chrono>

namespace QMT
{

bool waitFor(unsigned int seconds, const std::function<bool()>& isDone)
{
    const long PAUSE = 50; // milliseconds

    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (!isDone())
    {
        if (std::chrono::steady_clock::now() >= end)
        {
            return false;
        }
        Poco::Thread::sleep(PAUSE);
    }
    return true;
}

} // namespace QMT
