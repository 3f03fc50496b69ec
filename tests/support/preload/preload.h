/* Common code of the preloaded libraries. */
#ifndef QMT_TESTS_PRELOAD_H
#define QMT_TESTS_PRELOAD_H

#include <stdlib.h>

/*
 * Unsets LD_PRELOAD for the children of the program under test. Agent and validator may have another architecture than
 * an emulated program, and the dynamic loader would print an error into their output.
 */
__attribute__((constructor)) static void unsetPreload(void)
{
    unsetenv("LD_PRELOAD");
}

#endif
