// net/newcomers.cpp: accepts connections from the listening socket.
#include "net/newcomers.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>

#include "net/arrivals.h"
#include "net/connections.h"

static constexpr Milliseconds RETRY_MS = 100;   // bounds the work while descriptors are lacking
static constexpr Milliseconds SILENT_MS = 2000; // longer than a lost packet keeps a client silent

static int listening = -1;
static bool closing;            // the listening socket has been shut down
static bool acceptFailed;       // at the last attempt
static Milliseconds acceptFrom; // not before, after a failure

void openNewcomers(int listener)
{
    listening = listener;
    closing = acceptFailed = false;
    acceptFrom = 0;
    fcntl(listener, F_SETFL, fcntl(listener, F_GETFL) | O_NONBLOCK);
}

int newcomersSocket(Milliseconds now)
{
    return closing || now < acceptFrom ? -1 : listening;
}

Milliseconds newcomersDeadline(Milliseconds now)
{
    return closing || now >= acceptFrom ? LLONG_MAX : acceptFrom;
}

void refuseNewcomers()
{
    closing = true;
}

bool newcomersAreRefused()
{
    return closing;
}

bool acceptHasFailed()
{
    return acceptFailed;
}

static Connection *freeSlot()
{
    for (Connection &connection : connections)
        if (connection.stage == FREE)
            return &connection;
    return nullptr;
}

static bool mayGiveWay(const Connection &connection)
{
    return connection.stage == ARRIVING || connection.stage == LEAVING;
}

// Returns true when a has moved fewer bytes for its time than b.
static bool isSlower(const Connection &a, const Connection &b, Milliseconds now)
{
    const auto bytes = [](const Connection &each) { return each.received + each.taken; };
    const auto time = [=](const Connection &each) {
        return static_cast<uint64_t>(now - each.since);
    };
    return bytes(a) * time(b) < bytes(b) * time(a);
}

static Connection *slowest(Milliseconds now)
{
    Connection *slowest = nullptr;
    for (int i = 0; i < connectionsInUse; ++i) {
        Connection *const next = &connections[i];
        if (mayGiveWay(*next) && now - next->since >= SILENT_MS
            && (slowest == nullptr || isSlower(*next, *slowest, now)))
            slowest = next;
    }
    return slowest;
}

// Returns the connection that gives way to a newcomer: the one whose last byte is the oldest or, when none
// is silent, the slowest. Returns null when all are newcomers themselves.
static Connection *chosenToGiveWay(Milliseconds now)
{
    Connection *oldest = oldestOf(mayGiveWay);
    return oldest == nullptr || now - oldest->lastByte >= SILENT_MS ? oldest : slowest(now);
}

// Returns the connection's slot, which is then free; null for null.
static Connection *dropped(Connection *connection)
{
    if (connection != nullptr)
        dropConnection(connection);
    return connection;
}

bool isShortage(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

// Returns the new socket, or -1 with errno.
static int acceptInto(Connection *slot)
{
    slot->clientSize = sizeof slot->client;
    return accept4(listening, &slot->client.any, &slot->clientSize, SOCK_NONBLOCK | SOCK_CLOEXEC);
}

bool acceptNewcomer()
{
    const Milliseconds now = monotonicNow();
    Connection *slot = freeSlot();
    if (slot == nullptr)
        slot = dropped(chosenToGiveWay(now));
    if (slot == nullptr)
        slot = dropped(oldestOf(mayGiveWay));
    if (slot == nullptr)
        return true; // all are ready to be served; the kernel keeps the newcomer
    int socket = acceptInto(slot);
    // Once: if that does not help, nobody else must go.
    if (socket < 0 && isShortage(errno) && dropped(chosenToGiveWay(now)) != nullptr)
        socket = acceptInto(slot);
    acceptFailed = socket < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR;
    if (acceptFailed)
        acceptFrom = now + RETRY_MS;
    if (socket < 0)
        return !acceptFailed;

    slot->stage = ARRIVING;
    slot->socket = socket;
    slot->since = slot->lastByte = now;
    slot->unclosed = 0;
    slot->end = RequestEnd();
    slot->received = 0;
    slot->taken = 0;
    connectionsInUse = std::max(connectionsInUse, static_cast<int>(slot - connections) + 1);
    receiveFrom(slot, now);
    return true;
}
