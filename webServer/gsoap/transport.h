// gsoap/transport.h: lets gSOAP accept, receive, send and close through net/connections.h.
#pragma once

struct soap;

// Replaces the context's callbacks for its connections. Call it once, before installLimits().
void installTransport(struct soap *soap);

// Waits for the next complete request and makes its connection the context's. Returns false when accept
// fails.
bool acceptConnection(struct soap *soap);

// Returns true when the context serves one of the service's own connections, not one that a host or a
// test has given it.
bool servesConnection(const struct soap *soap);
