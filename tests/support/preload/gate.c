/*
 * A gate before the first message to the system log: the program waits there until somebody has opened and closed the
 * named pipe QOR_SANDBOX_GATE for writing. In a staging call it then knows the queue, but has not saved it.
 */
#include "preload.h"

#include <fcntl.h>
#include <stdarg.h>
#include <syslog.h>
#include <unistd.h>

static void waitAtGate(void)
{
    static int passed = 0;
    const char* path = getenv("QOR_SANDBOX_GATE");
    char byte;
    if (passed || path == NULL)
    {
        return;
    }
    passed = 1;
    const int gate = open(path, O_RDONLY | O_CLOEXEC);
    while (read(gate, &byte, 1) > 0)
    {
    }
    close(gate);
}

void syslog(int priority, const char* format, ...)
{
    va_list arguments;
    waitAtGate();
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

/* The name under which a fortified program calls it. */
void __syslog_chk(int priority, int flag, const char* format, ...);
void __syslog_chk(int priority, int flag, const char* format, ...)
{
    va_list arguments;
    (void)flag;
    waitAtGate();
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}
