#include "support/CapturedSystemLog.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace
{

QMT::Test::Messages* sink = nullptr;

[[gnu::format(printf, 2, 0)]] void record(int priority, const char* format, va_list arguments)
{
    std::array<char, 4096> text = {};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    if (sink != nullptr)
    {
        sink->emplace_back(priority, text.data());
    }
}

} // namespace

// The names that plain and fortified callers of syslog link to. They are given by hand, as the system's header may
// define one of them inline.
extern "C"
{
    [[gnu::format(printf, 2, 3)]] void plainSystemLog(int priority, const char* format, ...) __asm__("syslog");
    [[gnu::format(printf, 3, 4)]] void fortifiedSystemLog(int priority, int level, const char* format,
                                                          ...) __asm__("__syslog_chk");
    [[gnu::format(printf, 3, 0)]] void fortifiedVSystemLog(int priority, int level, const char* format,
                                                           va_list arguments) __asm__("__vsyslog_chk");
}

void plainSystemLog(int priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    record(priority, format, arguments);
    va_end(arguments);
}

void fortifiedSystemLog(int priority, int, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    record(priority, format, arguments);
    va_end(arguments);
}

void fortifiedVSystemLog(int priority, int, const char* format, va_list arguments)
{
    record(priority, format, arguments);
}

namespace QMT::Test
{

CapturedSystemLog::CapturedSystemLog()
{
    sink = &_messages;
}

CapturedSystemLog::~CapturedSystemLog()
{
    sink = nullptr;
}

const Messages& CapturedSystemLog::messages() const
{
    return _messages;
}

void CapturedSystemLog::clear()
{
    _messages.clear();
}

} // namespace QMT::Test
