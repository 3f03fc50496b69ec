#ifndef QMT_TEST_RealCall_INCLUDED
#define QMT_TEST_RealCall_INCLUDED

#include <dlfcn.h>

namespace QMT::Test
{

/// The system's own function of the name `name`, behind the stand-in that the test program has for it.
template<typename Function>
Function* realCall(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace QMT::Test

#endif // QMT_TEST_RealCall_INCLUDED
