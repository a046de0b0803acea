// net/connections.cpp: the one place where the service thread waits, and the connection that it serves.
#include "net/connections.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <poll.h>
#include <unistd.h>

#include "net/arrivals.h"
#include "net/connection.h"
#include "net/leaving.h"
#include "net/newcomers.h"

// A caller that goes on after the end of the service is slowed down to one call in this time.
static constexpr Milliseconds END_REPEAT_MS = 100;
static constexpr useconds_t BLIND_WAIT_MICROSECONDS = 10 * 1000;

static Connection *served;
static Milliseconds servedSince;
static Milliseconds endReportedFrom; // nextConnection() reports the end of the service from then on

// The service closes: those who have sent nothing go at once.
static void dropSilent()
{
    for (int i = connectionsInUse; i-- > 0;)
        if (connections[i].stage == ARRIVING && connections[i].received == 0)
            dropConnection(&connections[i]);
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

// The kernel has no memory for a wait. No call on a socket waits, so after a while all of them are tried, and
// the service goes on. A newcomer is looked for only while nobody has to give way to it.
static void tryAll(struct pollfd *polled, int count)
{
    usleep(BLIND_WAIT_MICROSECONDS);
    for (int i = 0; i <= count; ++i)
        if (polled[i].fd != -1)
            polled[i].revents = polled[i].events;
    if (count == MAX_CONNECTIONS)
        polled[count].revents = 0;
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
    until = std::min(until, largePlaceDeadline());
    const Milliseconds before = monotonicNow();
    until = std::min(until, newcomersDeadline(before));
    polled[count] = {newcomersSocket(before), POLLIN, 0};
    const Milliseconds wait =
        std::min<Milliseconds>(std::max<Milliseconds>(until - before, 0), STALL_MS);
    if (poll(polled, static_cast<nfds_t>(count) + 1, static_cast<int>(wait)) < 0 && errno != EINTR)
        tryAll(polled, count);

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
    openNewcomers(listener);
    endReportedFrom = 0;
}

// Makes it the connection that is served. Returns its socket.
static int serve(Connection *ready, struct sockaddr *address, int *addressSize)
{
    leaveLargePlace(ready);
    leaveReady(ready);
    ready->stage = SERVED;
    served = ready;
    servedSince = monotonicNow();
    *addressSize = std::min(*addressSize, static_cast<int>(ready->clientSize));
    memcpy(address, &ready->client, static_cast<std::size_t>(*addressSize));
    return ready->socket;
}

int nextConnection(struct sockaddr *address, int *addressSize)
{
    if (served != nullptr) // gSOAP has not closed it
        releaseConnection();
    for (;;) {
        const bool over = newcomersAreRefused() && !requestsAreArriving();
        bool newcomers = false;
        waitAndProceed(over ? endReportedFrom : LLONG_MAX, &newcomers);
        if (newcomers && !acceptNewcomer()) {
            if (errno != EINVAL)
                return -1;
            refuseNewcomers();
            dropSilent();
        }
        if (Connection *ready = nextReady())
            return serve(ready, address, addressSize);
        if (newcomersAreRefused() && !requestsAreArriving() && monotonicNow() >= endReportedFrom) {
            endReportedFrom = monotonicNow() + END_REPEAT_MS;
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
        makeRoomForReply(*served);
    return true;
}

bool sendFiles(const FilePart *files, int count)
{
    return served != nullptr && served->reply.attach(files, count);
}

int filesLeaving()
{
    int files = 0;
    for (int i = 0; i < connectionsInUse; ++i)
        files += connections[i].reply.openFiles();
    return files;
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
    passOverService(now - servedSince);
    connection->lastByte = now;
    depart(connection, now);
}

bool requestsAreArriving()
{
    for (int i = 0; i < connectionsInUse; ++i) {
        const Connection &each = connections[i];
        if (each.stage == READY || (each.stage == ARRIVING && each.received > 0))
            return true;
    }
    return false;
}

void awaitDepartures()
{
    const Milliseconds end = monotonicNow() + LAST_REPLIES_MS;
    bool newcomers = false;
    const auto isLeaving = [](const Connection &each) { return each.stage == LEAVING; };
    while (oldestOf(isLeaving) != nullptr && monotonicNow() < end)
        waitAndProceed(end, &newcomers);
}

void closeConnections()
{
    refuseNewcomers(); // a newcomer that nobody accepts would end every wait at once
    awaitDepartures();
    for (int i = connectionsInUse; i-- > 0;)
        if (connections[i].stage != FREE)
            dropConnection(&connections[i]);
}
