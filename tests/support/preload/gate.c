/*
 * Blocks the program until a writer has opened and closed the named pipe QOR_SANDBOX_GATE. The program blocks before
 * its first message to the system log; a staging call has then loaded its queue, but not saved it. With
 * QOR_SANDBOX_GATE_AT ("N:PATH") it blocks before the N-th open of PATH with O_CREAT.
 */
#define _GNU_SOURCE

#include "preload.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

typedef int Open(const char* path, int flags, ...);

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

static void waitBeforeOpening(const char* path, int flags)
{
    static long seen = 0;
    const char* at = getenv("QOR_SANDBOX_GATE_AT");
    char* wanted = NULL;
    if (at == NULL || (flags & O_CREAT) == 0)
    {
        return;
    }
    const long number = strtol(at, &wanted, 10);
    if (*wanted == ':' && strcmp(wanted + 1, path) == 0 && ++seen == number)
    {
        waitAtGate();
    }
}

static int openBehindGate(const char* name, const char* path, int flags, unsigned int mode)
{
    Open* const real = (Open*)dlsym(RTLD_NEXT, name);
    waitBeforeOpening(path, flags);
    return real(path, flags, mode);
}

/*
 * Both symbols are named explicitly: a 32-bit program may use either, and the header may redirect one to the other.
 * Without O_CREAT the mode is undefined, and ignored.
 */
int gatedOpen(const char* path, int flags, ...) __asm__("open");
int gatedOpen64(const char* path, int flags, ...) __asm__("open64");

int gatedOpen(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const unsigned int mode = va_arg(arguments, unsigned int);
    va_end(arguments);
    return openBehindGate("open", path, flags, mode);
}

int gatedOpen64(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const unsigned int mode = va_arg(arguments, unsigned int);
    va_end(arguments);
    return openBehindGate("open64", path, flags, mode);
}

/* The symbols that a fortified program calls. */
int gatedFortifiedOpen(const char* path, int flags) __asm__("__open_2");
int gatedFortifiedOpen64(const char* path, int flags) __asm__("__open64_2");

int gatedFortifiedOpen(const char* path, int flags)
{
    return openBehindGate("open", path, flags, 0);
}

int gatedFortifiedOpen64(const char* path, int flags)
{
    return openBehindGate("open64", path, flags, 0);
}

static void waitBeforeMessage(void)
{
    if (getenv("QOR_SANDBOX_GATE_AT") == NULL)
    {
        waitAtGate();
    }
}

void syslog(int priority, const char* format, ...)
{
    va_list arguments;
    waitBeforeMessage();
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

/* The symbols that a fortified program calls. */
void __syslog_chk(int priority, int flag, const char* format, ...);
void __vsyslog_chk(int priority, int flag, const char* format, va_list arguments);

void __syslog_chk(int priority, int flag, const char* format, ...)
{
    va_list arguments;
    (void)flag;
    waitBeforeMessage();
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

void __vsyslog_chk(int priority, int flag, const char* format, va_list arguments)
{
    (void)flag;
    waitBeforeMessage();
    vsyslog(priority, format, arguments);
}
