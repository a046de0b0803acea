// base/clock.cpp: the monotonic clock.
#include "base/clock.h"

#include <ctime>

Milliseconds monotonicNow()
{
    struct timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return Milliseconds{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}
