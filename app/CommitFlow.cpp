#include "app/CQorModelTool.h"

#include "base/CSignalBlock.h"
#include "impl/CQorModelToolImpl.h"

#include <Poco/AutoPtr.h>
#include <Poco/DOM/Document.h>
#include <Poco/Logger.h>
#include <Poco/Util/Application.h>

#include <syslog.h>

namespace QMT
{

int CQorModelTool::rollBackOnRequest(bool lockExisted)
{
    _logger->information("Rolling back.");
    if (lockExisted)
    {
        // Nothing is restored while a session is open, and rollBack is not even called: if another host ended the
        // session at this moment, its commit would be undone.
        _impl->cleanupTmp();
        return Poco::Util::Application::EXIT_OK;
    }
    _impl->rollBack();
    ::syslog(LOG_INFO, "lock file not present, Rolling back.");
    return succeed();
}

int CQorModelTool::commit(bool lockExisted)
{
    if (_impl->request().rollbackRequested)
    {
        _logger->information("Invalid command!\nSeparate calls to commit and rollback.");
        return Poco::Util::Application::EXIT_OK;
    }
    if (!lockExisted)
    {
        _logger->information("There is nothing to commit!");
        ::syslog(LOG_INFO, "lock file not present, There is nothing to commit.");
        return Poco::Util::Application::EXIT_OK;
    }
    if (!isLockWithCurrentHost())
    {
        _impl->loadFIFO();
    }
    if (!areLiveFilesUntouched())
    {
        _logger->information("Unable to commit!\nRolling back...");
        ::syslog(LOG_INFO, "check of qor.cfg or Model files failed, Unable to commit rolling back");
        // As in a rollback of an open session, nothing is restored.
        _impl->cleanupTmp();
        return Poco::Util::Application::EXIT_OK;
    }
    return commitSession();
}

int CQorModelTool::commitSession()
{
    _impl->cfgBackup();
    Poco::AutoPtr<Poco::XML::Document> document = _impl->loadWorkingCopy();
    if (document.isNull())
    {
        return fail();
    }
    const bool hasActions = !_impl->queue().empty();
    const QueueResult result = _impl->applyQueue(document);
    if (hasActions)
    {
        _impl->commitCompleted();
    }
    document = nullptr;
    if (result.needsValidation && _impl->checkModelCfgValidity())
    {
        undoRejected();
        return fail();
    }
    return result.failed ? fail() : succeed();
}

void CQorModelTool::undoRejected()
{
    // rollBack restores nothing while a session is open or when a stat fails. A concurrent staging call may open a
    // session more than once, and a stat error may be transient.
    const int MAX_ATTEMPTS = 10;

    const CSignalBlock block;
    for (int attempt = 0; attempt < MAX_ATTEMPTS; ++attempt)
    {
        static_cast<void>(_impl->rollBack());
        _impl->cleanupTmp();
        if (!_impl->hasBackup())
        {
            return;
        }
    }
}

bool CQorModelTool::areLiveFilesUntouched() const
{
    return _impl->crcCheckQORFiles() && _impl->crcCheckModelFiles();
}

} // namespace QMT
