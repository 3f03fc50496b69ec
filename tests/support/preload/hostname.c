/*
 * Replaces the machine's host name by QOR_SANDBOX_HOST, in a sandbox without a UTS namespace.
 */
#include "preload.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

int gethostname(char* name, size_t size)
{
    const char* host = getenv("QOR_SANDBOX_HOST");
    if (host == NULL)
    {
        errno = EFAULT;
        return -1;
    }
    if (strlen(host) >= size)
    {
        errno = ENAMETOOLONG;
        return -1;
    }
    strcpy(name, host);
    return 0;
}

/* The symbol that a fortified program calls. */
int __gethostname_chk(char* name, size_t size, size_t space);
int __gethostname_chk(char* name, size_t size, size_t space)
{
    return gethostname(name, size < space ? size : space);
}
