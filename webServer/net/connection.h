// net/connection.h: one open connection, from its accept to the last byte of its reply.
#pragma once

#include <cstddef>
#include <cstdint>
#include <netinet/in.h>
#include <sys/socket.h>

#include "base/clock.h"
#include "net/departure.h"
#include "net/limits.h"
#include "net/request_end.h"

enum Stage { FREE, ARRIVING, READY, SERVED, LEAVING };

struct Connection {
    Stage stage = FREE;
    int socket = 0; // of any stage but FREE
    union {
        struct sockaddr any;
        struct sockaddr_in v4;
        struct sockaddr_in6 v6;
    } client = {};
    socklen_t clientSize = 0;

    Milliseconds since = 0;    // of its accept
    Milliseconds lastByte = 0; // when the client last sent or took one; its accept at first
    Milliseconds unclosed = 0; // since when only the envelope's end is missing; 0: it is not
    uint64_t turn = 0;         // the order in which READY connections are served

    RequestEnd end;
    std::size_t received = 0;
    uint64_t taken = 0; // bytes of the reply
    ByteQueue request;
    Departure reply;
};

// The table. Slots from connectionsInUse on are free. All of it is zero at first, so that the library's file
// does not contain it.
extern Connection connections[MAX_CONNECTIONS];
extern int connectionsInUse;

// Closes the connection at once and frees its slot.
void dropConnection(Connection *connection);

// Returns, of the connections for which isMeant returns true, the one whose last byte is the oldest; null
// when there is none. Passes over except.
Connection *oldestOf(bool (*isMeant)(const Connection &), const Connection *except = nullptr);
