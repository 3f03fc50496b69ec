#include "support/FakeOwnership.h"

#include "support/RealCall.h"

#include <sstream>

namespace
{

QMT::Test::FakeOwnership* currentOwnership = nullptr;

} // namespace

extern "C"
{
    int fakeChown(const char* path, unsigned int owner, unsigned int group) __asm__("chown");
    int fakeChmod(const char* path, unsigned int mode) __asm__("chmod");
}

int fakeChown(const char* path, unsigned int owner, unsigned int group)
{
    if (currentOwnership == nullptr)
    {
        return QMT::Test::realCall<int(const char*, unsigned int, unsigned int)>("chown")(path, owner, group);
    }
    return currentOwnership->answer("chown " + std::string(path) + " " + std::to_string(owner) + " " +
                                    std::to_string(group));
}

int fakeChmod(const char* path, unsigned int mode)
{
    if (currentOwnership == nullptr)
    {
        return QMT::Test::realCall<int(const char*, unsigned int)>("chmod")(path, mode);
    }
    std::ostringstream call;
    call << "chmod " << path << " 0" << std::oct << mode;
    return currentOwnership->answer(call.str());
}

namespace QMT::Test
{

FakeOwnership::FakeOwnership(int result) : _result(result)
{
    currentOwnership = this;
}

FakeOwnership::~FakeOwnership()
{
    currentOwnership = nullptr;
}

const std::vector<std::string>& FakeOwnership::calls() const
{
    return _calls;
}

int FakeOwnership::answer(const std::string& call)
{
    _calls.push_back(call);
    return _result;
}

} // namespace QMT::Test
