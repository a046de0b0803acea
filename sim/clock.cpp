// sim/clock.cpp: the unit's own clock: the machine's, plus a shift that a client can set.
#include "clock.h"

#include <atomic>
#include <limits>
#include <sys/syscall.h>
#include <unistd.h>

#include "security/gate.h"
#include "webServer.h"
#include "webServerHost.h"

static_assert(sizeof(time_t) == sizeof(long), "SYS_clock_gettime fills in two longs");

static const int SET_BY_HAND = 1;    // time source after the time was set over the network
static const int INITIAL_SOURCE = 2; // time source of a unit that has just started
static const uint32_t MILLISECONDS_PER_SECOND = 1000;
static const uint32_t NANOSECONDS_PER_MILLISECOND = 1000000;

// Whole seconds fit into one atomic on 32-bit processors. So the unit's seconds begin when the
// machine's do.
static std::atomic<time_t> shiftSeconds(0);
static int timeSource = INITIAL_SOURCE; // service thread only

void machineTime(struct timespec *now)
{
    syscall(SYS_clock_gettime, CLOCK_REALTIME, now);
}

void setActiveTimeSource(int source)
{
    timeSource = source;
}

extern "C" {

// Replaces the system's function, so that the library sees the unit's time.
WS_EXPORT int clock_gettime(clockid_t clock, struct timespec *now) noexcept
{
    const long result = syscall(SYS_clock_gettime, clock, now);
    if (result == 0 && clock == CLOCK_REALTIME
        && __builtin_add_overflow(now->tv_sec, shiftSeconds.load(), &now->tv_sec))
        now->tv_sec = std::numeric_limits<time_t>::max(); // 2038, where time_t has 32 bits
    return static_cast<int>(result);
}

int thmSetTime(const struct timespec *time, int)
{
    const int result = time == nullptr || time->tv_sec < 0 ? -1 : 0;
    if (result == 0) {
        struct timespec now;
        machineTime(&now);
        shiftSeconds = time->tv_sec - now.tv_sec;
        timeSource = SET_BY_HAND;
    }
    sLogInfo("clock: set over the network: %d, %s", result, byCaller().c_str());
    return result;
}

int thmIsInit()
{
    return 1;
}

int thmGetActiveTimeSource()
{
    return timeSource;
}

// Setting the unit's time leaves this counter alone. It wraps by the conversion to 32 bits.
uint32_t sysCnt1mlsg()
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(now.tv_sec) * MILLISECONDS_PER_SECOND
           + static_cast<uint32_t>(now.tv_nsec) / NANOSECONDS_PER_MILLISECOND;
}

} // extern "C"
