// net/arrivals.cpp: takes what clients send, within bounds, until their requests are complete.
#include "net/arrivals.h"

#include <algorithm>
#include <cerrno>
#include <climits>

static constexpr std::size_t MOST_BYTES_AT_ONCE = 16 * KIB; // then other clients have their turn
static constexpr char CONTINUE[] = "HTTP/1.1 100 Continue\r\n\r\n";

static const Connection *large; // in the one place for large requests; null: it is free
static Milliseconds trialSince;
static std::size_t trialBytesBefore; // that it had when the trial began
static Milliseconds placeFreedAt;    // those who wait for it cannot have sent before
static std::size_t readyBytes;       // of all requests that are READY
static uint64_t turns;

static bool isLarge(const Connection &connection)
{
    return connection.received >= LARGE_REQUEST_BYTES;
}

static bool waitsForPlace(const Connection &connection)
{
    return isLarge(connection) && large != nullptr && large != &connection;
}

bool mayReceive(const Connection &connection)
{
    return !waitsForPlace(connection) && readyBytes <= MAX_WAITING_BYTES;
}

void leaveLargePlace(const Connection *connection)
{
    if (large != connection)
        return;
    large = nullptr;
    placeFreedAt = monotonicNow();
}

static void enterLargePlace(const Connection &connection, Milliseconds now)
{
    if (large != nullptr || !isLarge(connection))
        return;
    large = &connection;
    trialSince = now;
    trialBytesBefore = connection.received;
}

static bool anyoneWaitsForPlace()
{
    for (int i = 0; i < connectionsInUse; ++i) // std::any_of takes four times the code
        if (connections[i].stage == ARRIVING && waitsForPlace(connections[i]))
            return true;
    return false;
}

Milliseconds largePlaceDeadline()
{
    return large != nullptr && large->stage == ARRIVING && anyoneWaitsForPlace()
               ? trialSince + LARGE_REQUEST_TRIAL_MS
               : LLONG_MAX;
}

void passOverService(Milliseconds duration)
{
    trialSince += duration;
}

void expireLargePlace(Milliseconds now)
{
    const Milliseconds elapsed = now - trialSince;
    if (large == nullptr || large->stage != ARRIVING || elapsed < LARGE_REQUEST_TRIAL_MS)
        return;
    // In thousandths, since the unit's processor has no division of 64 bits.
    const uint64_t brought = uint64_t{large->received - trialBytesBefore} * 1000;
    const uint64_t needed = static_cast<uint64_t>(elapsed) * LARGE_REQUEST_BYTES_PER_SECOND;
    if (brought < needed && anyoneWaitsForPlace()) {
        dropConnection(&connections[large - connections]);
        return;
    }
    trialSince = now; // its speed counts, not what it brought earlier
    trialBytesBefore = large->received;
}

static void makeReady(Connection *connection)
{
    connection->stage = READY;
    connection->turn = ++turns;
    readyBytes += connection->request.size();
}

void leaveReady(const Connection *connection)
{
    readyBytes -= connection->request.size();
}

// Keeps the bytes of all requests but the large one within MAX_WAITING_BYTES: those whose clients have been
// silent for longest give way. The connection itself stays.
static void makeRoom(Connection *connection)
{
    std::size_t waiting = 0;
    for (int i = 0; i < connectionsInUse; ++i)
        if (connections[i].stage == ARRIVING && &connections[i] != large)
            waiting += connections[i].request.size();
    while (waiting > MAX_WAITING_BYTES) {
        const auto givesRoom = [](const Connection &each) {
            return each.stage == ARRIVING && &each != large && each.request.size() > 0;
        };
        Connection *oldest = oldestOf(givesRoom, connection);
        if (oldest == nullptr)
            return;
        waiting -= oldest->request.size();
        dropConnection(oldest);
    }
}

// Looks at what has been received into the queue's room.
static void take(Connection *connection, const char *bytes, std::size_t count, Milliseconds now)
{
    connection->end.see(bytes, count);
    connection->request.added(count);
    connection->received += count;
    connection->lastByte = now;
    if (connection->end.takeContinue())
        send(connection->socket, CONTINUE, sizeof CONTINUE - 1, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (connection->end.isComplete() || connection->received > maxReceivedBytes())
        makeReady(connection);
    else if (!connection->end.isUnclosed())
        connection->unclosed = 0;
    else if (connection->unclosed == 0)
        connection->unclosed = now;
}

void receiveFrom(Connection *connection, Milliseconds now)
{
    std::size_t total = 0;
    while (connection->stage == ARRIVING && mayReceive(*connection) && total < MOST_BYTES_AT_ONCE) {
        std::size_t room;
        char *to = connection->request.room(&room);
        if (to == nullptr) {
            dropConnection(connection);
            return;
        }
        const ssize_t count = recv(connection->socket, to, room, MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
            break;
        if (count < 0) {
            dropConnection(connection);
            return;
        }
        if (count == 0) { // the client has ended its side: what has come is all there will be
            makeReady(connection);
            return;
        }
        take(connection, to, static_cast<std::size_t>(count), now);
        enterLargePlace(*connection, now);
        total += static_cast<std::size_t>(count);
        if (static_cast<std::size_t>(count) < room)
            break; // the socket is empty
    }
    if (isLarge(*connection) || connection->request.size() > ByteQueue::BLOCK_BYTES)
        makeRoom(connection);
}

Milliseconds arrivalDeadline(const Connection &connection)
{
    Milliseconds deadline = connection.since + MAX_ARRIVAL_MS;
    const Milliseconds couldSendFrom =
        isLarge(connection) ? std::max(connection.lastByte, placeFreedAt) : connection.lastByte;
    if (!waitsForPlace(connection))
        deadline = std::min(deadline, couldSendFrom + STALL_MS);
    if (connection.unclosed != 0)
        deadline = std::min(deadline, connection.unclosed + UNCLOSED_MS);
    return deadline;
}

void expireArrival(Connection *connection, Milliseconds now)
{
    if (now < arrivalDeadline(*connection))
        return;
    if (connection->received == 0 || now >= connection->since + MAX_ARRIVAL_MS)
        dropConnection(connection);
    else
        makeReady(connection);
}
