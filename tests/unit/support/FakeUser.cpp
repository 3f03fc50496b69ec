#include "support/FakeUser.h"

#include "support/RealCall.h"

#include <sys/types.h>

namespace
{

bool isAnother = false;

} // namespace

extern "C" uid_t fakeGetEffectiveUser() __asm__("geteuid");

uid_t fakeGetEffectiveUser()
{
    const uid_t real = QMT::Test::realCall<uid_t()>("geteuid")();
    return isAnother ? real + 1 : real;
}

namespace QMT::Test
{

FakeUser::FakeUser()
{
    isAnother = true;
}

FakeUser::~FakeUser()
{
    isAnother = false;
}

} // namespace QMT::Test
