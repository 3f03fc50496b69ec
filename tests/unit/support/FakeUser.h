#ifndef QMT_TEST_FakeUser_INCLUDED
#define QMT_TEST_FakeUser_INCLUDED

namespace QMT::Test
{

/// Makes the program believe, as long as the object lives, that another user runs it than the one who owns the files.
/// There is one at a time.
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
