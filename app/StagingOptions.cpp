#include "app/CQorModelTool.h"

#include "impl/CQorModelToolImpl.h"

#include <Poco/Logger.h>

namespace QMT
{

void CQorModelTool::handleAddModelFile(const std::string&, const std::string& value)
{
    Request& request = _impl->request();
    request.commandGiven = true;
    request.addStaged = true;
    request.modelFile = value;
    if (request.handlerStaged)
    {
        // The driver rewrites the text of this entry, which was the handler's.
        _impl->queue().front().first = CmdID::AddModelFileWithHandler;
    }
    else
    {
        _impl->queue().emplace_front(CmdID::AddModelFile, value);
    }
}

void CQorModelTool::handleRemoveModelFile(const std::string&, const std::string& value)
{
    Request& request = _impl->request();
    request.commandGiven = true;
    request.modelFile = value;
    if (request.handlerStaged)
    {
        request.removeWithHandler = true;
        _impl->queue().emplace_front(CmdID::RemoveModelFileWithHandler, value);
    }
    else
    {
        request.removeStaged = true;
        _impl->queue().emplace_front(CmdID::RemoveModelFile, value);
    }
}

void CQorModelTool::handleModelHandler(const std::string&, const std::string& value)
{
    Request& request = _impl->request();
    request.commandGiven = true;
    request.modelHandler = value;
    if (request.removeStaged)
    {
        request.removeWithHandler = true;
        _impl->queue().front().first = CmdID::RemoveModelFileWithHandler;
    }
    else if (request.addStaged)
    {
        _impl->queue().front().first = CmdID::AddModelFileWithHandler;
    }
    else
    {
        request.handlerStaged = true;
        _impl->queue().emplace_front(CmdID::ModelHandler, value);
    }
}

void CQorModelTool::handleManagedObjectVersion(const std::string&, const std::string& value)
{
    _impl->request().commandGiven = true;
    _impl->moVersion() = value;
    _logger->information("handleManagedObjectVersion: " + value);
}

void CQorModelTool::handleTransactionalResourceVersion(const std::string&, const std::string& value)
{
    _impl->request().commandGiven = true;
    _impl->trVersion() = value;
}

} // namespace QMT
