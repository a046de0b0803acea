// net/newcomers.cpp: accepts connections from the listening socket.
#include "net/newcomers.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>

#include "net/arrivals.h"
#include "net/connections.h"

static constexpr Milliseconds RETRY_MS = 100; // bounds the work while descriptors are lacking

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

// Makes room for one more connection. Returns false when there is nobody to give way.
static bool dropOldest()
{
    Connection *oldest = oldestOf(ARRIVING, nullptr);
    if (oldest == nullptr)
        oldest = oldestOf(LEAVING, nullptr);
    if (oldest != nullptr)
        dropConnection(oldest);
    return oldest != nullptr;
}

static bool lacksRoom(int error)
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
    if (slot == nullptr && dropOldest())
        slot = freeSlot();
    if (slot == nullptr)
        return true; // all are ready to be served; the kernel keeps the newcomer
    int socket = -1;
    do
        socket = acceptInto(slot);
    while (socket < 0 && lacksRoom(errno) && dropOldest());
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
    connectionsInUse = std::max(connectionsInUse, static_cast<int>(slot - connections) + 1);
    receiveFrom(slot, now);
    return true;
}
