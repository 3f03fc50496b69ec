#include "support/FakeHostName.h"

#include "support/RealCall.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace
{

std::optional<std::string> currentName;

} // namespace

// The names that plain and fortified callers of gethostname link to.
extern "C"
{
    int fakeGetHostName(char* buffer, std::size_t size) __asm__("gethostname");
    int fakeFortifiedGetHostName(char* buffer, std::size_t size, std::size_t capacity) __asm__("__gethostname_chk");
}

int fakeGetHostName(char* buffer, std::size_t size)
{
    if (!currentName)
    {
        return QMT::Test::realCall<int(char*, std::size_t)>("gethostname")(buffer, size);
    }
    // Like the real call: a name that does not fit is truncated, without a terminating NUL.
    const std::size_t length = std::min(size, currentName->size() + 1);
    std::copy_n(currentName->c_str(), length, buffer);
    return 0;
}

int fakeFortifiedGetHostName(char* buffer, std::size_t size, std::size_t)
{
    return fakeGetHostName(buffer, size);
}

namespace QMT::Test
{

FakeHostName::FakeHostName(const std::string& name)
{
    currentName = name;
}

FakeHostName::~FakeHostName()
{
    currentName.reset();
}

} // namespace QMT::Test
