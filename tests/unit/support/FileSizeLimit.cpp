#include "support/FileSizeLimit.h"

namespace QMT::Test
{

FileSizeLimit::FileSizeLimit(std::size_t size)
{
    // Otherwise SIGXFSZ would end the process at a write over the limit.
    struct sigaction ignored = {};
    ignored.sa_handler = SIG_IGN;
    ::sigaction(SIGXFSZ, &ignored, &_previousAction);
    ::getrlimit(RLIMIT_FSIZE, &_previousLimit);
    struct rlimit limit = _previousLimit;
    limit.rlim_cur = size;
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

FileSizeLimit::~FileSizeLimit()
{
    ::setrlimit(RLIMIT_FSIZE, &_previousLimit);
    ::sigaction(SIGXFSZ, &_previousAction, nullptr);
}

} // namespace QMT::Test
