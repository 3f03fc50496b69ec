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
    const Judgement judgement = judge(paths().modelFileListArgument());
    if (judgement.verdict != Judgement::Verdict::REJECTED)
    {
        return false;
    }
    std::cout << judgement.report << std::endl << judgement.message << std::endl;
    return true;
}

Judgement CQorModelToolImpl::judge(const std::string& list)
{
    Judgement judgement;
    if (!verifyModelTool())
    {
        ::syslog(LOG_INFO, "model tool does not exist");
        return judgement;
    }
    Poco::Pipe pipe;
    const Poco::ProcessHandle validator = launchIntoPipe(_validatorPath, {"-q", "-c", list}, pipe);
    const int status = wait(validator.id(), judgement.message);
    readPipe(pipe, judgement.report);
    judgement.verdict = status == 0 ? Judgement::Verdict::ACCEPTED : Judgement::Verdict::REJECTED;
    return judgement;
}

int CQorModelToolImpl::wait(int pid, std::string& message)
{
    int status = 0;
    int ended = 0;
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
