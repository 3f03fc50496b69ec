#include "support/LockHolder.h"

#include "base/CRecordLock.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace QMT::Test
{

namespace
{

const char TAKEN = 'y';

[[noreturn]] void hold(const std::string& path, int answers)
{
    CRecordLock lock(path, path);
    const char answer = lock.tryToTake() ? TAKEN : 'n';
    static_cast<void>(::write(answers, &answer, 1));
    for (;;)
    {
        ::pause();
    }
}

} // namespace

LockHolder::LockHolder(const std::string& path) : _path(path), _process(0)
{
    std::array<int, 2> answers = {};
    EXPECT_EQ(::pipe(answers.data()), 0);
    _process = ::fork();
    if (_process == 0)
    {
        hold(path, answers[1]);
    }
    char answer = '\0';
    EXPECT_EQ(::read(answers[0], &answer, 1), 1);
    EXPECT_EQ(answer, TAKEN);
    ::close(answers[0]);
    ::close(answers[1]);
}

LockHolder::~LockHolder()
{
    ::kill(_process, SIGKILL);
    ::waitpid(_process, nullptr, 0);
}

int LockHolder::process() const
{
    return _process;
}

std::string LockHolder::message() const
{
    return "another caller, process " + std::to_string(_process) + ", has the lock " + _path;
}

} // namespace QMT::Test
