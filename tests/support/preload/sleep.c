/*
 * Makes sleep return immediately. QOR_SANDBOX_SLEEP_COUNT names a file that counts the calls. With
 * QOR_SANDBOX_SLEEP_UNLINK ("N:PATH") the N-th call removes PATH, as if somebody had done so meanwhile.
 */
#include "preload.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

static void recordCalls(long calls)
{
    const char* path = getenv("QOR_SANDBOX_SLEEP_COUNT");
    if (path == NULL)
    {
        return;
    }
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file >= 0)
    {
        dprintf(file, "%ld\n", calls);
        close(file);
    }
}

static void actAt(long calls)
{
    const char* action = getenv("QOR_SANDBOX_SLEEP_UNLINK");
    if (action == NULL)
    {
        return;
    }
    char* path = NULL;
    if (strtol(action, &path, 10) == calls && *path == ':')
    {
        unlink(path + 1);
    }
}

unsigned int sleep(unsigned int seconds)
{
    static long calls = 0;
    (void)seconds;
    ++calls;
    recordCalls(calls);
    actAt(calls);
    return 0;
}
