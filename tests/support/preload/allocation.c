/*
 * Makes one allocation fail. QOR_SANDBOX_ALLOCATION is its number. QOR_SANDBOX_ALLOCATIONS names a file for the total.
 * QOR_SANDBOX_ALLOCATION_LOOKUP names a file that is created if the allocation fails within getpwuid, where the C
 * library crashes. Counting begins when the program sets its SIGPIPE handler, its first own system call.
 */
#define _GNU_SOURCE

#include "preload.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pwd.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <unistd.h>

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

static long seen = -1;
static long toFail = -1;
static pid_t counted = 0;
static int inLookup = 0;

static void touch(const char* path)
{
    const int file = path == NULL ? -1 : open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (file >= 0)
    {
        close(file);
    }
}

static int fails(void)
{
    /* Do not count in a child between fork and exec. */
    if (seen < 0 || getpid() != counted)
    {
        return 0;
    }
    ++seen;
    if (seen != toFail)
    {
        return 0;
    }
    if (inLookup)
    {
        touch(getenv("QOR_SANDBOX_ALLOCATION_LOOKUP"));
    }
    errno = ENOMEM;
    return 1;
}

int sigaction(int number, const struct sigaction* action, struct sigaction* before)
{
    int (*const real)(int, const struct sigaction*, struct sigaction*) =
        (int (*)(int, const struct sigaction*, struct sigaction*))dlsym(RTLD_NEXT, "sigaction");
    if (number == SIGPIPE && seen < 0)
    {
        const char* wanted = getenv("QOR_SANDBOX_ALLOCATION");
        toFail = wanted == NULL ? -1 : atol(wanted);
        counted = getpid();
        seen = 0;
    }
    return real(number, action, before);
}

struct passwd* getpwuid(uid_t user)
{
    struct passwd* (*const real)(uid_t) = (struct passwd * (*)(uid_t)) dlsym(RTLD_NEXT, "getpwuid");
    inLookup = 1;
    struct passwd* const found = real(user);
    inLookup = 0;
    return found;
}

void* malloc(size_t size)
{
    return fails() ? NULL : __libc_malloc(size);
}

void* calloc(size_t count, size_t size)
{
    return fails() ? NULL : __libc_calloc(count, size);
}

void* realloc(void* block, size_t size)
{
    return fails() ? NULL : __libc_realloc(block, size);
}

void* aligned_alloc(size_t alignment, size_t size)
{
    return fails() ? NULL : __libc_memalign(alignment, size);
}

__attribute__((destructor)) static void report(void)
{
    const char* path = getenv("QOR_SANDBOX_ALLOCATIONS");
    if (path == NULL || getpid() != counted)
    {
        return;
    }
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file >= 0)
    {
        dprintf(file, "%ld\n", seen);
        close(file);
    }
}
