/*
 * Starts one program inside the sandbox and reports to the launcher outside how it ended.
 *
 *     runner STATUS_FD PROGRAM [ARGUMENT...]
 *
 * Writes the program's process id to STATUS_FD, so that a test can send it a signal, and then its raw wait status: an
 * exit status of the sandbox cannot distinguish "exited with 139" from "killed by SIGSEGV".
 * Drops all capabilities, so that file permissions also apply to root.
 */
#include <errno.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

enum
{
    CANNOT_RUN = 127,
    OPEN_FILES = 256
};

/* PR_SET_NO_NEW_PRIVS keeps an exec by root from regaining the capabilities. */
static void dropCapabilities(void)
{
    struct __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    struct __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3];
    memset(none, 0, sizeof none);
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || syscall(SYS_capset, &header, none) != 0)
    {
        perror("runner: cannot drop capabilities");
        exit(CANNOT_RUN);
    }
}

/*
 * The library closes every possible descriptor in a new child. With the limits of some containers that is a million
 * calls, each of which proot traces.
 */
static void limitOpenFiles(void)
{
    struct rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur > OPEN_FILES)
    {
        limit.rlim_cur = OPEN_FILES;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

/*
 * Makes two system calls fail with ENOSYS, so that callers fall back to their predecessors.
 * Old versions of proot do not translate the paths of these two, which emulated programs and many others use. If the
 * kernel refuses the filter, the program's own calls still work.
 */
static void blockNewCalls(void)
{
    struct sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_statx, 1, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_faccessat2, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const struct sock_fprog program = {sizeof filter / sizeof *filter, filter};
    (void)prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
}

/* A script's background job inherits ignored signals; a test must not depend on that. */
static void resetSignals(void)
{
    const int numbers[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};
    for (size_t i = 0; i < sizeof numbers / sizeof *numbers; ++i)
    {
        signal(numbers[i], SIG_DFL);
    }
}

static void execute(char** command, int statusFd)
{
    /* A killed launcher ends only its own child, the runner. */
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execv(command[0], command);
    dprintf(statusFd, "failed %d\n", errno);
    fprintf(stderr, "runner: %s: %s\n", command[0], strerror(errno));
    _exit(CANNOT_RUN);
}

int main(int argc, char** argv)
{
    if (argc < 3)
    {
        fputs("usage: runner STATUS_FD PROGRAM [ARGUMENT...]\n", stderr);
        return CANNOT_RUN;
    }
    const int statusFd = atoi(argv[1]);
    if (fcntl(statusFd, F_SETFD, FD_CLOEXEC) != 0)
    {
        perror("runner: status descriptor");
        return CANNOT_RUN;
    }
    dropCapabilities();
    if (getenv("QOR_SANDBOX_HOST") != NULL) /* set for proot only */
    {
        blockNewCalls();
    }
    limitOpenFiles();
    const pid_t child = fork();
    if (child < 0)
    {
        perror("runner: fork");
        return CANNOT_RUN;
    }
    if (child == 0)
    {
        resetSignals();
        execute(argv + 2, statusFd);
    }
    dprintf(statusFd, "pid %d\n", (int)child);

    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
    {
    }
    dprintf(statusFd, "status %d\n", status);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
