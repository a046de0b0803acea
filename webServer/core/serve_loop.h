// core/serve_loop.h: accepts and serves, one connection at a time, until the service is closed.
#pragma once

#include <stdsoap2.h>

// Serves until ws_soap_close() and releases the context. Returns what close() of the listening socket
// returned or, when the port could not be bound and the reboot failed, what reboot() returned.
extern "C" int ws_soap_main(struct soap *soap);

// The first and the repeated step of ws_soap_main. openService applies the settings, registers the
// plug-ins and binds: it returns the listening socket, or -1 with the reason as the context's fault.
int openService(struct soap *soap);

// Accepts one connection, serves its request and forgets it.
void serveConnection(struct soap *soap);
