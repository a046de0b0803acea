// net/leaving.h: replies that leave as their clients take them.
#pragma once

#include "net/connection.h"

// Sends what the client takes now. Ends the connection when its reply has left, or can no longer leave.
void depart(Connection *connection, Milliseconds now);

// Keeps the bytes of all replies within MAX_PARKED_BYTES: those whose clients have taken nothing for
// longest give way. The reply of the one given always has room.
void makeRoomForReply(const Connection &connection);
