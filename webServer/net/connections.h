// net/connections.h: all open connections. Many wait here at once, for their request to be complete or
// for their client to take the reply, while one is served. Service thread only.
#pragma once

#include <cstddef>
#include <sys/socket.h>

#include "net/departure.h"

// Starts with no connections, on a listening socket, which it makes non-blocking.
void openConnections(int listener);

// Waits until a request is complete, or as complete as it will be, and makes its connection the one that
// is served. Meanwhile receives what other clients send and sends what they take. Returns the socket and
// writes the client's address. Returns -1 when accept fails, and when the listening socket has been shut
// down and no begun request is left; errno then says why.
int nextConnection(struct sockaddr *address, int *addressSize);

// Returns true when the last attempt to accept has failed.
bool acceptHasFailed();

// Returns true for an errno that says that descriptors or memory are lacking.
bool isShortage(int error);

// Reads from the request that is served. Returns 0 when all that has arrived is read. Never waits.
std::size_t readRequest(char *to, std::size_t size);

// Sends to the client that is served, and keeps what it does not take now. Never waits. Returns false when
// the client is gone or the rest cannot be kept.
bool sendReply(const char *bytes, std::size_t count);

// Sends these files at the end of the reply, after all bytes, and owns them from now on. Returns false, and
// does not own them, when there is no memory, or when the reply has files already.
bool sendFiles(const FilePart *files, int count);

// Returns how many open files wait in replies for their clients to take them.
int filesLeaving();

// Returns true when the socket is the one that is served.
bool isServed(int socket);

// Ends the service of the connection that is served. Its reply leaves as its client takes it.
void releaseConnection();

// Returns true while a request that has begun to arrive waits for its service.
bool requestsAreArriving();

// Waits until all replies have left, but not longer than LAST_REPLIES_MS.
void awaitDepartures();

// Closes all connections, after awaitDepartures().
void closeConnections();
