// net/newcomers.h: accepts connections from the listening socket.
#pragma once

#include "net/connection.h"

// Starts with a listening socket, which it makes non-blocking.
void openNewcomers(int listener);

// Returns the socket to wait for; -1 while nothing is to be accepted.
int newcomersSocket(Milliseconds now);

// Returns when newcomersSocket may have changed.
Milliseconds newcomersDeadline(Milliseconds now);

// Accepts one connection and receives what it has sent. Returns false with errno when accept fails for
// another reason than that nobody has come; EINVAL: the listening socket has been shut down.
bool acceptNewcomer();

// Accepts nobody from now on.
void refuseNewcomers();

// Returns true when nobody is accepted any more.
bool newcomersAreRefused();
