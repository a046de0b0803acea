// net/leaving.cpp: replies that leave as their clients take them.
#include "net/leaving.h"

static constexpr std::size_t MAX_DROPPED_BYTES = 256 * KIB; // read at a connection's end

// Ends a connection whose reply has left. Bytes that nobody has read would make the kernel reset the
// connection, and the client might lose the reply.
static void finish(Connection *connection)
{
    char dropped[4096];
    std::size_t total = 0;
    for (ssize_t count;
         total < MAX_DROPPED_BYTES
         && (count = recv(connection->socket, dropped, sizeof dropped, MSG_DONTWAIT)) > 0;)
        total += static_cast<std::size_t>(count);
    // If there is more, close() would drop the reply's last bytes.
    if (total >= MAX_DROPPED_BYTES)
        shutdown(connection->socket, SHUT_WR);
    dropConnection(connection);
}

void depart(Connection *connection, Milliseconds now)
{
    const std::size_t sent = connection->reply.proceed(connection->socket);
    connection->taken += sent;
    if (sent > 0)
        connection->lastByte = now;
    if (connection->reply.hasFailed() || now - connection->lastByte >= STALL_MS)
        dropConnection(connection);
    else if (connection->reply.isEmpty())
        finish(connection);
}

void makeRoomForReply(const Connection &connection)
{
    std::size_t parked = connection.reply.parkedBytes();
    for (int i = 0; i < connectionsInUse; ++i)
        if (connections[i].stage == LEAVING)
            parked += connections[i].reply.parkedBytes();
    while (parked > MAX_PARKED_BYTES) {
        Connection *oldest = oldestOf([](const Connection &each) {
            return each.stage == LEAVING && each.reply.parkedBytes() > 0;
        });
        if (oldest == nullptr)
            return;
        parked -= oldest->reply.parkedBytes();
        dropConnection(oldest);
    }
}
