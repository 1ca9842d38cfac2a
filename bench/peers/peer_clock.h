/* The clock every listing program reads its time from. */
#ifndef RKBENCH_PEER_CLOCK_H
#define RKBENCH_PEER_CLOCK_H

#include <time.h>

/* Microseconds on the monotonic clock. */
static inline double now_us(void)
{
    struct timespec t;
    (void)clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec * 1e6 + (double)t.tv_nsec / 1e3;
}

#endif
