/*
 * Runs a program and injects a fault that strace cannot: the system call is made, but shortened or with another result.
 *
 *     disturb short N PROGRAM [ARGUMENT...]     the N-th write writes half, as at a quota or after a signal
 *     disturb EIO N PROGRAM [ARGUMENT...]       the N-th close closes the file and reports EIO, as NFS may
 *     disturb EINTR N PROGRAM [ARGUMENT...]     likewise EINTR
 *     disturb ENOSPC N PROGRAM [ARGUMENT...]    likewise ENOSPC
 *
 * Counting restarts at each execve, so that PROGRAM may be env. Children are not traced.
 * Exits like the program, or with 127 when there was no such call.
 */
#include <errno.h>
#include <signal.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#ifndef __x86_64__
#error "only the registers of x86-64 are supported"
#endif

enum
{
    CANNOT_RUN = 127,
    SYSTEM_CALL_STOP = SIGTRAP | 0x80
};

struct Disturbance
{
    long call; /* the number of the system call */
    int error; /* errno of a close; 0 for a short write */
    long nth;
    long seen;
};

static _Noreturn void fail(const char* what)
{
    fprintf(stderr, "disturb: %s: %s\n", what, strerror(errno));
    exit(CANNOT_RUN);
}

static struct Disturbance parse(const char* kind, const char* nth)
{
    const struct
    {
        const char* name;
        int error;
    } kinds[] = {{"short", 0}, {"EIO", EIO}, {"EINTR", EINTR}, {"ENOSPC", ENOSPC}};

    for (size_t i = 0; i < sizeof kinds / sizeof *kinds; ++i)
    {
        if (strcmp(kind, kinds[i].name) == 0)
        {
            const int error = kinds[i].error;
            return (struct Disturbance){error == 0 ? SYS_write : SYS_close, error, atol(nth), 0};
        }
    }
    fprintf(stderr, "disturb: unknown kind %s\n", kind);
    exit(CANNOT_RUN);
}

static _Noreturn void execute(char** command)
{
    if (ptrace(PTRACE_TRACEME, 0, NULL, NULL) != 0)
    {
        fail("cannot be traced");
    }
    execv(command[0], command);
    fail(command[0]);
}

static void injectAtEntry(struct user_regs_struct* registers)
{
    if (registers->rdx < 2)
    {
        fputs("disturb: a write of one byte cannot be cut short\n", stderr);
        exit(CANNOT_RUN);
    }
    registers->rdx /= 2;
}

/* Called at each system call stop; the stops alternate between entry and exit. */
static void atSystemCall(pid_t child, struct Disturbance* disturbance)
{
    static bool inside = false;
    struct user_regs_struct registers;

    inside = !inside;
    if (ptrace(PTRACE_GETREGS, child, NULL, &registers) != 0)
    {
        fail("cannot see the call");
    }
    if ((long)registers.orig_rax != disturbance->call)
    {
        return;
    }
    disturbance->seen += inside ? 1 : 0;
    /* A write is changed on entry, the result of a close on exit. */
    if (disturbance->seen != disturbance->nth || inside != (disturbance->error == 0))
    {
        return;
    }
    if (inside)
    {
        injectAtEntry(&registers);
    }
    else
    {
        registers.rax = (unsigned long long)-(long long)disturbance->error;
    }
    if (ptrace(PTRACE_SETREGS, child, NULL, &registers) != 0)
    {
        fail("cannot change the call");
    }
}

static int follow(pid_t child, struct Disturbance* disturbance)
{
    int status = 0;
    int signalToPass = 0;

    waitpid(child, &status, 0);
    ptrace(PTRACE_SETOPTIONS, child, NULL, PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL);
    while (!WIFEXITED(status) && !WIFSIGNALED(status))
    {
        ptrace(PTRACE_SYSCALL, child, NULL, (void*)(long)signalToPass);
        if (waitpid(child, &status, 0) < 0)
        {
            fail("waitpid");
        }
        signalToPass = 0;
        if (WIFSTOPPED(status) && WSTOPSIG(status) == SYSTEM_CALL_STOP)
        {
            atSystemCall(child, disturbance);
        }
        else if (status >> 8 == (SIGTRAP | PTRACE_EVENT_EXEC << 8))
        {
            disturbance->seen = 0;
        }
        else if (WIFSTOPPED(status))
        {
            signalToPass = WSTOPSIG(status);
        }
    }
    return status;
}

int main(int argc, char** argv)
{
    if (argc < 4)
    {
        fputs("usage: disturb short|EIO|EINTR|ENOSPC N PROGRAM [ARGUMENT...]\n", stderr);
        return CANNOT_RUN;
    }
    struct Disturbance disturbance = parse(argv[1], argv[2]);
    const pid_t child = fork();
    if (child < 0)
    {
        fail("fork");
    }
    if (child == 0)
    {
        execute(argv + 3);
    }
    const int status = follow(child, &disturbance);
    if (disturbance.seen < disturbance.nth)
    {
        fprintf(stderr, "disturb: there were %ld such calls\n", disturbance.seen);
        return CANNOT_RUN;
    }
    if (WIFSIGNALED(status))
    {
        signal(WTERMSIG(status), SIG_DFL);
        raise(WTERMSIG(status));
    }
    return WEXITSTATUS(status);
}
