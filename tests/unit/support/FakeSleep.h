#ifndef QMT_TEST_FakeSleep_INCLUDED
#define QMT_TEST_FakeSleep_INCLUDED

#include <functional>
#include <map>
#include <vector>

namespace QMT::Test
{

/// Replaces sleep: records the duration of each, and runs an action of the test instead. The test program
/// never sleeps; without such an object a sleep is a test failure.
class FakeSleep
{
public:
    FakeSleep();
    ~FakeSleep();
    FakeSleep(const FakeSleep&) = delete;
    FakeSleep& operator=(const FakeSleep&) = delete;
    FakeSleep(FakeSleep&&) = delete;
    FakeSleep& operator=(FakeSleep&&) = delete;

    /// Runs `action` during the `number`-th sleep, counted from 1.
    void during(int number, std::function<void()> action);

    /// The seconds of every sleep so far.
    const std::vector<unsigned int>& sleeps() const;

    /// For the replaced system call.
    void pass(unsigned int seconds);

private:
    std::map<int, std::function<void()>> _actions;
    std::vector<unsigned int> _sleeps;
};

} // namespace QMT::Test

#endif // QMT_TEST_FakeSleep_INCLUDED
