/*
 * Steps the program: before each call on a file below /opt/qor/etc, and instead of each sleep, it writes the call as a
 * line to the socket QOR_SANDBOX_STEP, and waits for a byte.
 */
#define _GNU_SOURCE

#include "preload.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#define WATCHED "/opt/qor/etc"
#define NEXT(type, name) ((type)dlsym(RTLD_NEXT, name))

enum
{
    FILES = 1024
};

static int master = -1;
static pid_t stepped = 0;
static char watchedFiles[FILES];

__attribute__((constructor)) static void meetMaster(void)
{
    struct sockaddr_un address = {AF_UNIX, ""};
    const char* path = getenv("QOR_SANDBOX_STEP");
    if (path == NULL || strlen(path) >= sizeof address.sun_path)
    {
        return;
    }
    strcpy(address.sun_path, path);
    master = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    stepped = getpid();
    if (connect(master, (const struct sockaddr*)&address, sizeof address) != 0)
    {
        perror("step: no master");
        _exit(127);
    }
}

static void stop(const char* call, const char* path)
{
    char byte;
    /* Do not step a child between fork and exec. */
    if (master >= 0 && getpid() == stepped)
    {
        dprintf(master, "%s %s\n", call, path);
        if (recv(master, &byte, 1, 0) != 1)
        {
            _exit(127);
        }
    }
}

static int stopAt(const char* call, const char* path)
{
    const int watched = strncmp(path, WATCHED, strlen(WATCHED)) == 0;
    if (watched)
    {
        stop(call, path);
    }
    return watched;
}

static void stopOn(const char* call, int file)
{
    char link[64];
    char path[4096] = "";
    if (file >= 0 && file < FILES && watchedFiles[file])
    {
        snprintf(link, sizeof link, "/proc/self/fd/%d", file);
        if (readlink(link, path, sizeof path - 1) > 0)
        {
            stop(call, path);
        }
    }
}

static int noted(int file, int watched)
{
    if (file >= 0 && file < FILES)
    {
        watchedFiles[file] = (char)watched;
    }
    return file;
}

int stepOpen(const char* path, int flags, ...) __asm__("open");
int stepOpen64(const char* path, int flags, ...) __asm__("open64");

/* Without O_CREAT the mode is undefined, and ignored. */
#define OPEN(function, name)                                                                                           \
    int function(const char* path, int flags, ...)                                                                     \
    {                                                                                                                  \
        va_list arguments;                                                                                             \
        va_start(arguments, flags);                                                                                    \
        const unsigned int mode = va_arg(arguments, unsigned int);                                                     \
        va_end(arguments);                                                                                             \
        const int watched = stopAt((flags & O_CREAT) != 0 ? "create" : "open", path);                                  \
        return noted(NEXT(int (*)(const char*, int, ...), name)(path, flags, mode), watched);                          \
    }

OPEN(stepOpen, "open")
OPEN(stepOpen64, "open64")

/* The symbols that a fortified program calls. */
int stepFortifiedOpen(const char* path, int flags) __asm__("__open_2");
int stepFortifiedOpen64(const char* path, int flags) __asm__("__open64_2");

int stepFortifiedOpen(const char* path, int flags)
{
    return stepOpen(path, flags, 0U);
}

int stepFortifiedOpen64(const char* path, int flags)
{
    return stepOpen64(path, flags, 0U);
}

/* The standard streams call the second one, those of newer C++ libraries the first. */
FILE* stepFopen(const char* path, const char* mode) __asm__("fopen");
FILE* stepFopen64(const char* path, const char* mode) __asm__("fopen64");

#define FOPEN(function, name)                                                                                          \
    FILE* function(const char* path, const char* mode)                                                                 \
    {                                                                                                                  \
        stopAt("open", path);                                                                                          \
        return NEXT(FILE * (*)(const char*, const char*), name)(path, mode);                                           \
    }

FOPEN(stepFopen, "fopen")
FOPEN(stepFopen64, "fopen64")

int stepStat(const char* path, struct stat* status) __asm__("stat");
int stepStat64(const char* path, struct stat* status) __asm__("stat64");

int stepStat(const char* path, struct stat* status)
{
    stopAt("stat", path);
    return NEXT(int (*)(const char*, struct stat*), "stat")(path, status);
}

int stepStat64(const char* path, struct stat* status)
{
    stopAt("stat", path);
    return NEXT(int (*)(const char*, struct stat*), "stat64")(path, status);
}

int unlink(const char* path)
{
    stopAt("unlink", path);
    return NEXT(int (*)(const char*), "unlink")(path);
}

ssize_t write(int file, const void* data, size_t size)
{
    stopOn("write", file);
    return NEXT(ssize_t(*)(int, const void*, size_t), "write")(file, data, size);
}

unsigned int sleep(unsigned int seconds)
{
    (void)seconds;
    stop("sleep", "");
    return 0;
}
