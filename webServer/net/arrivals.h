// net/arrivals.h: takes what clients send, within bounds, until their requests are complete.
#pragma once

#include "net/connection.h"

// Returns false while nothing is received from the connection: it waits for the place for large requests,
// or many bytes wait to be served.
bool mayReceive(const Connection &connection);

// Receives what the client has sent. The connection is then ARRIVING still, READY, or dropped.
void receiveFrom(Connection *connection, Milliseconds now);

// Ends the wait for a request that has met a limit: it is READY, as far as it came, or dropped.
void expireArrival(Connection *connection, Milliseconds now);

// Returns when expireArrival may have something to do.
Milliseconds arrivalDeadline(const Connection &connection);

// Frees the place for large requests if the connection has it.
void leaveLargePlace(const Connection *connection);

// Is called when a READY connection leaves this stage, before its bytes are read.
void leaveReady(const Connection *connection);

// Returns when expireLargePlace may have something to do.
Milliseconds largePlaceDeadline();

// Keeps the time of a service, in which nothing is received, out of the large request's speed.
void passOverService(Milliseconds duration);

// Drops the connection in the place for large requests if another one waits for it and it is too slow.
void expireLargePlace(Milliseconds now);
