#include "app/CQorModelTool.h"

#include "impl/CQorModelToolImpl.h"

#include <Poco/Logger.h>

namespace QMT
{

void CQorModelTool::handleStatus(const std::string&, const std::string&)
{
    _impl->request().commandGiven = true;
    _impl->request().statusRequested = true;
    // The queue of this host's own session was loaded at the start.
    if (_impl->isLockFile() && !isLockWithCurrentHost())
    {
        _impl->loadFIFO();
    }
    const CommandQueue& queue = _impl->queue();
    if (queue.empty())
    {
        _logger->information("There are no pending actions.");
        return;
    }
    _logger->information("Queued actions:");
    for (auto entry = queue.crbegin(); entry != queue.crend(); ++entry)
    {
        Action action;
        // A text without separators has been reported; its line shows the fields as empty.
        static_cast<void>(_impl->splitEntry(*entry, action));
        _logger->information(action.statusLine());
    }
}

} // namespace QMT
