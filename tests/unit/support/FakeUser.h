#ifndef QMT_TEST_FakeUser_INCLUDED
#define QMT_TEST_FakeUser_INCLUDED

namespace QMT::Test
{

/// Makes geteuid return a user who does not own the files, while the object lives. There is one at a time.
class FakeUser
{
public:
    FakeUser();
    ~FakeUser();
    FakeUser(const FakeUser&) = delete;
    FakeUser& operator=(const FakeUser&) = delete;
    FakeUser(FakeUser&&) = delete;
    FakeUser& operator=(FakeUser&&) = delete;
};

} // namespace QMT::Test

#endif // QMT_TEST_FakeUser_INCLUDED
