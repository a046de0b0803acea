// core/listener.h: the socket on which clients arrive.
#pragma once

struct soap;

// Binds and listens. Returns the socket, which is also the context's; -1 when that fails, with the
// reason as the context's fault.
int openListener(struct soap *soap, const char *address, int port);
