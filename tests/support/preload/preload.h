/* What the preloaded stand-ins share. */
#ifndef QMT_TESTS_PRELOAD_H
#define QMT_TESTS_PRELOAD_H

#include <stdlib.h>

/*
 * The stand-in serves the program under test alone. Its children (agent and validator) may be of another architecture
 * than an emulated program, and the dynamic loader's complaint about that would end up in their output.
 */
__attribute__((constructor)) static void keepFromChildren(void)
{
    unsetenv("LD_PRELOAD");
}

#endif
