/*
 * Starts one program inside the sandbox and reports to the launcher outside how it ended.
 *
 *     runner STATUS_FD PROGRAM [ARGUMENT...]
 *
 * Sandboxes fold "exited with 139" and "killed by SIGSEGV" into one number; the raw wait status written to STATUS_FD
 * keeps them apart. The same channel carries the program's process id first, so that a test can send it a signal.
 * Capabilities are given up before the start: file permissions then mean the same to root as to anybody else.
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

/* Without new privileges an exec by root cannot regain what is dropped here. */
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
 * Whoever starts a child closes every possible descriptor first. With the limits of some containers that is a million
 * calls, each of which a tracing sandbox looks at.
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
 * Make two system calls look as if the kernel did not have them: callers fall back to their predecessors.
 * Old versions of proot do not know these two, and a path in one of them is looked up outside the sandbox; emulated
 * programs and many of the machine's own make them. Where even this is refused, the program's own calls still work.
 */
static void hideNewCalls(void)
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

/* A job in the background of a script ignores some signals, and its children do; a test must not depend on that. */
static void heedSignals(void)
{
    const int numbers[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};
    for (size_t i = 0; i < sizeof numbers / sizeof *numbers; ++i)
    {
        signal(numbers[i], SIG_DFL);
    }
}

static void become(char** command, int statusFd)
{
    /* A launcher that is killed ends its own child only, which is the runner. */
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
        hideNewCalls();
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
        heedSignals();
        become(argv + 2, statusFd);
    }
    dprintf(statusFd, "pid %d\n", (int)child);

    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
    {
    }
    dprintf(statusFd, "status %d\n", status);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
