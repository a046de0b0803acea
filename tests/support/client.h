// tests/support/client.h: a client's bytes to and from a service of the loopback network.
#pragma once

#include <string>

// Returns a port of the loopback interface that nobody listens on, below the kernel's ephemeral range.
int freePort();

// Returns a socket that listens on the port, -1 when the port is taken.
int listenOn(int port);

// Connects from the given address of the loopback network. Returns the socket, -1 when nobody listens.
int connectTo(int port, const std::string &from = "127.0.0.1");

// Returns all that comes until the connection ends or its time-out passes.
std::string received(int socket);

// Sends bytes and returns all that comes back until the connection ends. With hangUp, the client also
// ends its sending side after the bytes.
std::string talk(int port, const std::string &bytes, const std::string &from = "127.0.0.1",
                 bool hangUp = false);

// Writes a connection's bytes, as an input of fuzz_connection, into the folder that the variable REQUESTS
// names, if it is set.
void recordRequest(const std::string &bytes);
