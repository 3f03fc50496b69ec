#include "impl/CQorModelToolImpl.h"

#include "base/ChildProcess.h"

#include <Poco/File.h>
#include <Poco/Logger.h>
#include <Poco/Pipe.h>
#include <Poco/Process.h>

#include <sys/wait.h>
#include <syslog.h>

#include <cerrno>
#include <iostream>

namespace QMT
{

bool CQorModelToolImpl::verifyModelTool()
{
    if (!_validatorPath.empty() && Poco::File(_validatorPath).exists())
    {
        return true;
    }
    _logger->warning("Unable to locate model tool.");
    ::syslog(LOG_WARNING, "Unable to locate Model tool");
    return false;
}

bool CQorModelToolImpl::checkModelCfgValidity()
{
    if (!verifyModelTool())
    {
        ::syslog(LOG_INFO, "model tool does not exist");
        return false;
    }
    Poco::Pipe pipe;
    const std::vector<std::string> args = {"-q", "-c", paths().modelFileListArgument()};
    const Poco::ProcessHandle validator = launchIntoPipe(_validatorPath, args, pipe);
    std::string message;
    std::string report;
    const int status = wait(validator.id(), message);
    readPipe(pipe, report);
    if (status == 0)
    {
        return false;
    }
    std::cout << report << std::endl << message << std::endl;
    return true;
}

int CQorModelToolImpl::wait(int pid, std::string& message)
{
    int status = 0;
    int ended = 0;
    errno = 0;
    do
    {
        ended = ::waitpid(pid, &status, 0);
    } while (ended < 0 && errno == EINTR);

    if (ended != pid && errno != ECHILD)
    {
        return reportWaitFailure("Cannot wait for child process: ", pid, message);
    }
    if (WIFEXITED(status))
    {
        return WEXITSTATUS(status);
    }
    return reportWaitFailure("Abnormal termination for child process: ", pid, message);
}

int CQorModelToolImpl::reportWaitFailure(const std::string& text, int pid, std::string& message)
{
    message += text + std::to_string(pid);
    _logger->error(message);
    ::syslog(LOG_ERR, "ERROR:%s", message.c_str());
    return -1;
}

} // namespace QMT
