#include "app/CQorModelTool.h"

#include "impl/CQorModelToolImpl.h"
#include "xml/CXMLParser.h"

#include <Poco/DOM/Document.h>
#include <Poco/Logger.h>
#include <Poco/Util/Application.h>

#include <syslog.h>

namespace QMT
{

int CQorModelTool::rollBackOnRequest(bool lockExisted)
{
    _logger->information("Rolling back.");
    _impl->rollBack();
    if (lockExisted)
    {
        // The open session kept rollBack from doing anything; dropping the session is all that was asked for.
        _impl->cleanupTmp();
        return Poco::Util::Application::EXIT_OK;
    }
    ::syslog(LOG_INFO, "lock file not present, Rolling back.");
    return succeed();
}

int CQorModelTool::commit(bool lockExisted)
{
    if (_impl->commandLine().rollbackRequested)
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
        _impl->rollBack();
        _impl->cleanupTmp();
        return Poco::Util::Application::EXIT_OK;
    }
    return commitSession();
}

int CQorModelTool::commitSession()
{
    _impl->cfgBackup();
    DocumentPtr document = loadWorkingCopy();
    if (document.isNull())
    {
        return fail();
    }
    const QueueResult result = applyQueue(document);
    document = nullptr;
    if (result.needsValidation && _impl->checkModelCfgValidity())
    {
        _impl->rollBack();
        _impl->cleanupTmp();
        return fail();
    }
    return result.failed ? fail() : succeed();
}

bool CQorModelTool::areLiveFilesUntouched() const
{
    return _impl->crcCheckQORFiles() && _impl->crcCheckModelFiles();
}

CQorModelTool::DocumentPtr CQorModelTool::loadWorkingCopy()
{
    const std::string path = CFrameworkPaths(_impl->qorPath()).configuration(CFrameworkPaths::Version::WORKING_COPY);
    DocumentPtr document;
    // Without a valid environment there is no editor.
    if (_impl->parser() != nullptr)
    {
        document = _impl->parser()->loadXMLDocument(path);
    }
    if (document.isNull())
    {
        _logger->critical("Unable to parse XML file: " + path);
    }
    return document;
}

CQorModelTool::QueueResult CQorModelTool::applyQueue(Poco::XML::Document* document)
{
    QueueResult result;
    CommandQueue& queue = _impl->queue();
    if (queue.empty())
    {
        return result;
    }
    while (!queue.empty())
    {
        const ActionResult applied = apply(queue.back().first, queue.back().second, document);
        result.needsValidation = result.needsValidation || applied == ActionResult::ADDED;
        result.failed = result.failed || applied == ActionResult::FAILED;
        queue.pop_back();
    }
    _impl->commitCompleted();
    return result;
}

} // namespace QMT
