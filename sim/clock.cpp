// sim/clock.cpp: the unit's own clock: the machine's, shifted by what was set over the network.
#include "clock.h"

#include <atomic>
#include <limits>
#include <sys/syscall.h>
#include <unistd.h>

#include "webServer.h"

static_assert(sizeof(time_t) == sizeof(long), "SYS_clock_gettime fills in two longs");

static const int SET_BY_HAND = 1;    // time source after the time was set over the network
static const int INITIAL_SOURCE = 2; // time source of a unit that has just started

// Whole seconds, so that one atomic holds the shift on 32-bit processors, too: the unit's second
// ends when the machine's does.
static std::atomic<time_t> shiftSeconds(0);
static std::atomic<int> timeSource(INITIAL_SOURCE);

void machineTime(struct timespec *now)
{
    syscall(SYS_clock_gettime, CLOCK_REALTIME, now);
}

// Wins over the system's, so that the library, too, sees the unit's time.
extern "C" WS_EXPORT int clock_gettime(clockid_t clock, struct timespec *now) noexcept
{
    const long result = syscall(SYS_clock_gettime, clock, now);
    if (result == 0 && clock == CLOCK_REALTIME
        && __builtin_add_overflow(now->tv_sec, shiftSeconds.load(), &now->tv_sec))
        now->tv_sec = std::numeric_limits<time_t>::max(); // 2038, where time_t has 32 bits
    return static_cast<int>(result);
}

int setUnitTime(time_t seconds)
{
    if (seconds < 0)
        return -1;
    struct timespec now;
    machineTime(&now);
    shiftSeconds = seconds - now.tv_sec;
    timeSource = SET_BY_HAND;
    return 0;
}

int activeTimeSource()
{
    return timeSource;
}

void setActiveTimeSource(int source)
{
    timeSource = source;
}
