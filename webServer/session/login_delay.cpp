// session/login_delay.cpp: with WEB_STRICT, makes an address wait after each failed login before the next
// one. The service thread serves everybody, so it does not wait itself: a login that comes too early is
// refused, right or wrong.
#include "session/login_delay.h"

#include <algorithm>

#include "base/clock.h"
#include "webServer.h"

static constexpr int FIRST_DELAY_MS = 1000;
static constexpr int LONGEST_DELAY_MS = 16 * FIRST_DELAY_MS; // then the next login counts again
static constexpr int ADDRESSES = 64; // a further one takes the place of that with the shortest wait

struct Delay {
    uint32_t address;
    int milliseconds; // 0: no failed login is known
    Milliseconds end;
};
static Delay delays[ADDRESSES];

// Returns null for an address of which no failed login is known.
static Delay *delayOf(uint32_t address)
{
    for (Delay &delay : delays)
        if (delay.milliseconds != 0 && delay.address == address)
            return &delay;
    return nullptr;
}

static Delay *firstToEnd()
{
    Delay *first = delays;
    for (Delay &delay : delays)
        if (delay.end < first->end)
            first = &delay;
    return first;
}

bool loginIsTooEarly(uint32_t address)
{
    if (g_webStrict == 0)
        return false;
    const Delay *delay = delayOf(address);
    return delay != nullptr && monotonicNow() < delay->end;
}

void delayNextLogin(uint32_t address)
{
    if (g_webStrict == 0)
        return;
    Delay *delay = delayOf(address);
    if (delay == nullptr) {
        delay = firstToEnd();
        *delay = {address, FIRST_DELAY_MS, 0};
    } else {
        delay->milliseconds = std::min(2 * delay->milliseconds, LONGEST_DELAY_MS);
    }
    delay->end = monotonicNow() + delay->milliseconds;
}

void forgetLoginDelay(uint32_t address)
{
    Delay *delay = delayOf(address);
    if (delay != nullptr)
        *delay = {};
}
