#ifndef QMT_TEST_FakeHostName_INCLUDED
#define QMT_TEST_FakeHostName_INCLUDED

#include <string>

namespace QMT::Test
{

/// Makes gethostname return `name` while the object lives. There is one at a time.
class FakeHostName
{
public:
    explicit FakeHostName(const std::string& name);
    ~FakeHostName();
    FakeHostName(const FakeHostName&) = delete;
    FakeHostName& operator=(const FakeHostName&) = delete;
    FakeHostName(FakeHostName&&) = delete;
    FakeHostName& operator=(FakeHostName&&) = delete;
};

} // namespace QMT::Test

#endif // QMT_TEST_FakeHostName_INCLUDED
