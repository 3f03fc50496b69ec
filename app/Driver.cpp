#include "app/CQorModelTool.h"

#include "impl/CQorModelToolImpl.h"

#include <Poco/Logger.h>
#include <Poco/Util/Application.h>

namespace QMT
{

int CQorModelTool::main(const std::vector<std::string>&)
{
    const bool lockExisted = _impl->isLockFile();
    if (rejectContradiction())
    {
        return Poco::Util::Application::EXIT_OK;
    }
    if (isStagingRequested() && !stage(lockExisted))
    {
        return Poco::Util::Application::EXIT_OK;
    }
    if (_impl->request().commitRequested)
    {
        return commit(lockExisted);
    }
    return _impl->request().rollbackRequested ? rollBackOnRequest(lockExisted) : succeed();
}

bool CQorModelTool::rejectContradiction()
{
    const Request& request = _impl->request();
    if (request.addStaged && request.removeStaged)
    {
        _logger->information("Invalid command!\nSeparate calls to add and remove of model files.");
        return true;
    }
    if (request.handlerStaged && request.removeWithHandler)
    {
        _logger->information("Invalid command!");
        return true;
    }
    return false;
}

bool CQorModelTool::isStagingRequested() const
{
    const Request& request = _impl->request();
    return request.addStaged || request.removeStaged || request.handlerStaged || request.removeWithHandler;
}

int CQorModelTool::succeed()
{
    _logger->information("Operation completed.");
    return Poco::Util::Application::EXIT_OK;
}

int CQorModelTool::fail()
{
    _logger->error("Operation failed!");
    return -1;
}

} // namespace QMT
