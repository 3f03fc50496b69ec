#ifndef QMT_TEST_RealCall_INCLUDED
#define QMT_TEST_RealCall_INCLUDED

#include <dlfcn.h>

namespace QMT::Test
{

/// The C library's function `name`, which the test program replaces.
template<typename Function>
Function* realCall(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace QMT::Test

#endif // QMT_TEST_RealCall_INCLUDED
