#include "support/FakeWaitpid.h"

#include "support/RealCall.h"

#include <cerrno>
#include <utility>

namespace
{

std::deque<QMT::Test::FakeWaitpid::Answer> prepared;

} // namespace

extern "C" int fakeWaitpid(int pid, int* status, int options) __asm__("waitpid");

int fakeWaitpid(int pid, int* status, int options)
{
    if (prepared.empty())
    {
        return QMT::Test::realCall<int(int, int*, int)>("waitpid")(pid, status, options);
    }
    const QMT::Test::FakeWaitpid::Answer answer = prepared.front();
    prepared.pop_front();
    // Like the real call: a failure does not set the status, and a success does not set errno.
    if (answer.result < 0)
    {
        errno = answer.error;
    }
    else
    {
        *status = answer.status;
    }
    return answer.result;
}

namespace QMT::Test
{

FakeWaitpid::FakeWaitpid(std::deque<Answer> answers)
{
    prepared = std::move(answers);
}

FakeWaitpid::~FakeWaitpid()
{
    prepared.clear();
}

std::size_t FakeWaitpid::left()
{
    return prepared.size();
}

} // namespace QMT::Test
