#include "support/FakeSleep.h"

#include <gtest/gtest.h>

#include <utility>

namespace
{

QMT::Test::FakeSleep* currentSleep = nullptr;

} // namespace

extern "C" unsigned int fakeSleep(unsigned int seconds) __asm__("sleep");

unsigned int fakeSleep(unsigned int seconds)
{
    if (currentSleep == nullptr)
    {
        ADD_FAILURE() << "slept " << seconds << " seconds";
        return 0;
    }
    currentSleep->pass(seconds);
    return 0;
}

namespace QMT::Test
{

FakeSleep::FakeSleep()
{
    currentSleep = this;
}

FakeSleep::~FakeSleep()
{
    currentSleep = nullptr;
}

void FakeSleep::during(int number, std::function<void()> action)
{
    _actions[number] = std::move(action);
}

const std::vector<unsigned int>& FakeSleep::sleeps() const
{
    return _sleeps;
}

void FakeSleep::pass(unsigned int seconds)
{
    _sleeps.push_back(seconds);
    const auto action = _actions.find(static_cast<int>(_sleeps.size()));
    if (action != _actions.end())
    {
        action->second();
    }
}

} // namespace QMT::Test
