// net/connection.cpp: the table of open connections.
#include "net/connection.h"

#include <type_traits>
#include <unistd.h>

#include "net/arrivals.h"

// The service thread may still use the table while the process exits, so nothing may destroy it.
static_assert(std::is_trivially_destructible_v<Connection>);

Connection connections[MAX_CONNECTIONS];
int connectionsInUse = 0;

void dropConnection(Connection *connection)
{
    leaveLargePlace(connection);
    if (connection->stage == READY)
        leaveReady(connection);
    close(connection->socket);
    connection->request.clear();
    connection->reply.clear();
    connection->stage = FREE;
    while (connectionsInUse > 0 && connections[connectionsInUse - 1].stage == FREE)
        --connectionsInUse;
}

Connection *oldestOf(bool (*isMeant)(const Connection &), const Connection *except)
{
    Connection *oldest = nullptr;
    for (int i = 0; i < connectionsInUse; ++i) {
        Connection *const next = &connections[i];
        if (next != except && isMeant(*next)
            && (oldest == nullptr || next->lastByte < oldest->lastByte))
            oldest = next;
    }
    return oldest;
}
