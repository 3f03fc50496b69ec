#ifndef QMT_TEST_FakeOwnership_INCLUDED
#define QMT_TEST_FakeOwnership_INCLUDED

#include <string>
#include <vector>

namespace QMT::Test
{

/// Records the calls of chown and chmod while the object lives, instead of executing them, so that a test needs
/// no privilege. There is one at a time.
class FakeOwnership
{
public:
    /// With `result` 0 the calls succeed, else they fail.
    explicit FakeOwnership(int result = 0);
    ~FakeOwnership();
    FakeOwnership(const FakeOwnership&) = delete;
    FakeOwnership& operator=(const FakeOwnership&) = delete;
    FakeOwnership(FakeOwnership&&) = delete;
    FakeOwnership& operator=(FakeOwnership&&) = delete;

    /// The calls so far, as "chown PATH OWNER GROUP" and "chmod PATH MODE" with the mode in octal.
    const std::vector<std::string>& calls() const;

    /// For the replaced system calls.
    int answer(const std::string& call);

private:
    std::vector<std::string> _calls;
    const int _result;
};

} // namespace QMT::Test

#endif // QMT_TEST_FakeOwnership_INCLUDED
