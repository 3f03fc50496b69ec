#include "app/CQorModelTool.h"

#include "impl/CQorModelToolImpl.h"

#include <Poco/Logger.h>
#include <Poco/Path.h>

#include <syslog.h>

namespace QMT
{

CQorModelTool::CQorModelTool(CQorModelToolImpl* impl, Poco::Logger* logger) : _impl(impl), _logger(logger)
{
    if (!_impl->getEnvDir(_impl->qorPath()))
    {
        _logger->critical("Unable to determine QOR path!");
        ::syslog(LOG_WARNING, "Unable to determine QOR path");
        return;
    }
    _impl->setValidatorPath(CFrameworkPaths::validator());
    if (_impl->isLockFile() && isLockWithCurrentHost())
    {
        _impl->loadFIFO();
    }
}

CQorModelTool::CQorModelTool(CQorModelToolImpl* impl, Poco::Logger* logger, const std::string& qorPath)
    : _impl(impl), _logger(logger)
{
    _impl->qorPath() = qorPath;
    _impl->setValidatorPath(CFrameworkPaths::validator());
}

CQorModelTool::~CQorModelTool()
{
    if (_logger != nullptr)
    {
        Poco::Logger::destroy("ConsoleLogger");
    }
}

Poco::Logger* CQorModelTool::logger() const
{
    return _logger;
}

bool CQorModelTool::isLockWithCurrentHost()
{
    std::string owner;
    _impl->getSessionHost(owner);
    return owner == CQorModelToolImpl::getHostName();
}

void CQorModelTool::getQorPath(Poco::Path& path) const
{
    path = _impl->qorPath();
}

void CQorModelTool::getComponentName(std::string& name) const
{
    name = _impl->componentName();
}

} // namespace QMT
