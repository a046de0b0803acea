// net/connections.cpp: all open connections, and the one place where the service thread waits.
#include "net/connections.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "net/arrivals.h"
#include "net/connection.h"

static constexpr Milliseconds ACCEPT_RETRY_MS =
    100; // bounds the work while descriptors are lacking
static constexpr std::size_t MAX_DROPPED_BYTES = 256 * 1024; // read at a connection's end

Connection connections[MAX_CONNECTIONS];
int connectionsInUse = 0;

static int listening = -1;
static bool closing;            // the listening socket has been shut down
static bool acceptFailed;       // at the last attempt
static Milliseconds acceptFrom; // not before, after a failure
static Connection *served;

static Milliseconds monotonicNow()
{
    struct timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return Milliseconds{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

void dropConnection(Connection *connection)
{
    leaveLargePlace(connection);
    close(connection->socket);
    connection->request.clear();
    connection->reply.clear();
    connection->stage = FREE;
    while (connectionsInUse > 0 && connections[connectionsInUse - 1].stage == FREE)
        --connectionsInUse;
}

Connection *oldestOf(Stage stage, const Connection *except)
{
    Connection *oldest = nullptr;
    for (int i = 0; i < connectionsInUse; ++i) {
        Connection *const next = &connections[i];
        if (next->stage == stage && next != except
            && (oldest == nullptr || next->lastByte < oldest->lastByte))
            oldest = next;
    }
    return oldest;
}

// ---- Accept ------------------------------------------------------------------------------------

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

// Accepts one connection and receives what it has sent. Returns false with errno when accept fails for
// another reason than that nobody has come.
static bool acceptOne(Milliseconds now)
{
    Connection *slot = freeSlot();
    if (slot == nullptr && dropOldest())
        slot = freeSlot();
    if (slot == nullptr)
        return true; // all are ready to be served; the kernel keeps the newcomer
    slot->clientSize = sizeof slot->client;
    int socket = -1;
    do
        socket =
            accept4(listening, &slot->client.any, &slot->clientSize, SOCK_NONBLOCK | SOCK_CLOEXEC);
    while (socket < 0 && lacksRoom(errno) && dropOldest());
    acceptFailed = socket < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR;
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

// The service closes: those who have sent nothing go at once.
static void dropSilent()
{
    for (int i = connectionsInUse; i-- > 0;)
        if (connections[i].stage == ARRIVING && connections[i].received == 0)
            dropConnection(&connections[i]);
}

// ---- Departures --------------------------------------------------------------------------------

// Ends a connection whose reply has left. Bytes that nobody has read would make the kernel reset the
// connection, and the client might lose the reply.
static void finish(Connection *connection)
{
    shutdown(connection->socket, SHUT_WR);
    char dropped[4096];
    std::size_t total = 0;
    for (ssize_t count;
         total < MAX_DROPPED_BYTES
         && (count = recv(connection->socket, dropped, sizeof dropped, MSG_DONTWAIT)) > 0;)
        total += static_cast<std::size_t>(count);
    dropConnection(connection);
}

static void depart(Connection *connection, Milliseconds now)
{
    if (connection->reply.proceed(connection->socket))
        connection->lastByte = now;
    if (connection->reply.hasFailed() || now - connection->lastByte >= STALL_MS)
        dropConnection(connection);
    else if (connection->reply.isEmpty())
        finish(connection);
}

// Keeps the bytes of all replies within MAX_PARKED_BYTES: those whose clients have taken nothing for
// longest give way. The reply that is being made always has room.
static void makeRoomForReply()
{
    std::size_t parked = served->reply.parkedBytes();
    for (int i = 0; i < connectionsInUse; ++i)
        if (connections[i].stage == LEAVING)
            parked += connections[i].reply.parkedBytes();
    while (parked > MAX_PARKED_BYTES) {
        Connection *oldest = oldestOf(LEAVING, nullptr);
        if (oldest == nullptr)
            return;
        parked -= oldest->reply.parkedBytes();
        dropConnection(oldest);
    }
}

// ---- The wait ----------------------------------------------------------------------------------

static short eventsOf(const Connection &connection)
{
    if (connection.stage == LEAVING)
        return POLLOUT;
    return connection.stage == ARRIVING && mayReceive(connection) ? POLLIN : 0;
}

static Milliseconds deadlineOf(const Connection &connection)
{
    switch (connection.stage) {
    case ARRIVING:
        return arrivalDeadline(connection);
    case LEAVING:
        return connection.lastByte + STALL_MS;
    case READY:
        return 0;
    default:
        return LLONG_MAX;
    }
}

// Waits until something can be done, at most until the given time, and does it for all connections.
static void waitAndProceed(Milliseconds until, bool *newcomers)
{
    static struct pollfd polled[MAX_CONNECTIONS + 1]; // the listening socket comes last
    const int count = connectionsInUse;
    for (int i = 0; i < count; ++i) {
        const Connection &connection = connections[i];
        const short events = eventsOf(connection);
        polled[i] = {events == 0 ? -1 : connection.socket, events, 0};
        until = std::min(until, deadlineOf(connection));
    }
    const Milliseconds before = monotonicNow();
    const bool accepting = !closing && before >= acceptFrom;
    if (!accepting && !closing)
        until = std::min(until, acceptFrom);
    polled[count] = {accepting ? listening : -1, POLLIN, 0};
    const Milliseconds wait =
        std::min<Milliseconds>(std::max<Milliseconds>(until - before, 0), STALL_MS);
    poll(polled, static_cast<nfds_t>(count) + 1, static_cast<int>(wait));

    const Milliseconds now = monotonicNow();
    for (int i = 0; i < count; ++i) {
        Connection *const connection = &connections[i];
        if (connection->stage == ARRIVING && polled[i].revents != 0)
            receiveFrom(connection, now);
        if (connection->stage == ARRIVING)
            expireArrival(connection, now);
        if (connection->stage == LEAVING
            && (polled[i].revents != 0 || now - connection->lastByte >= STALL_MS))
            depart(connection, now);
    }
    expireLargePlace(now);
    *newcomers = polled[count].revents != 0;
}

static Connection *nextReady()
{
    Connection *next = nullptr;
    for (int i = 0; i < connectionsInUse; ++i)
        if (connections[i].stage == READY && (next == nullptr || connections[i].turn < next->turn))
            next = &connections[i];
    return next;
}

void openConnections(int listener)
{
    listening = listener;
    closing = acceptFailed = false;
    acceptFrom = 0;
    fcntl(listener, F_SETFL, fcntl(listener, F_GETFL) | O_NONBLOCK);
}

bool acceptHasFailed()
{
    return acceptFailed;
}

int nextConnection(struct sockaddr *address, int *addressSize)
{
    for (;;) {
        bool newcomers = false;
        waitAndProceed(closing && !requestsAreArriving() ? acceptFrom : LLONG_MAX, &newcomers);
        if (newcomers && !acceptOne(monotonicNow())) {
            const int error = errno;
            acceptFrom = monotonicNow() + ACCEPT_RETRY_MS;
            closing = error == EINVAL;
            if (!closing) {
                errno = error;
                return -1;
            }
            dropSilent();
            acceptFrom = 0;
        }
        if (Connection *ready = nextReady()) {
            leaveLargePlace(ready);
            ready->stage = SERVED;
            served = ready;
            *addressSize = std::min(*addressSize, static_cast<int>(ready->clientSize));
            memcpy(address, &ready->client, static_cast<std::size_t>(*addressSize));
            return ready->socket;
        }
        if (closing && !requestsAreArriving() && monotonicNow() >= acceptFrom) {
            acceptFrom = monotonicNow() + ACCEPT_RETRY_MS; // for a caller that goes on all the same
            errno = EINVAL;
            return -1;
        }
    }
}

// ---- The connection that is served -------------------------------------------------------------

std::size_t readRequest(char *to, std::size_t size)
{
    std::size_t count = 0;
    const char *bytes = served == nullptr ? nullptr : served->request.front(&count);
    if (bytes == nullptr)
        return 0;
    count = std::min(count, size);
    memcpy(to, bytes, count);
    served->request.remove(count);
    return count;
}

bool sendReply(const char *bytes, std::size_t count)
{
    if (served == nullptr || !served->reply.send(served->socket, bytes, count))
        return false;
    if (served->reply.parkedBytes() > 0)
        makeRoomForReply();
    return true;
}

bool sendFiles(const FilePart *files, int count)
{
    return served != nullptr && served->reply.attach(files, count);
}

bool isServed(int socket)
{
    return served != nullptr && served->socket == socket;
}

void releaseConnection()
{
    Connection *const connection = served;
    served = nullptr;
    connection->request.clear();
    connection->stage = LEAVING;
    const Milliseconds now = monotonicNow();
    connection->lastByte = now;
    depart(connection, now);
}

bool requestsAreArriving()
{
    return std::any_of(connections, connections + connectionsInUse,
                       [](const Connection &connection) {
                           return connection.stage == READY
                                  || (connection.stage == ARRIVING && connection.received > 0);
                       });
}

void awaitDepartures()
{
    const Milliseconds end = monotonicNow() + LAST_REPLIES_MS;
    bool newcomers = false; // are not accepted here
    while (oldestOf(LEAVING, nullptr) != nullptr && monotonicNow() < end)
        waitAndProceed(end, &newcomers);
}

void closeConnections()
{
    awaitDepartures();
    for (int i = connectionsInUse; i-- > 0;)
        if (connections[i].stage != FREE)
            dropConnection(&connections[i]);
}
