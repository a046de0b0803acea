// core/serve_loop.h: serves one request after the other, until the service is closed.
#pragma once

#include <stdsoap2.h>

// Serves until ws_soap_close() and releases the context. Returns what close() of the listening socket
// returned or, when the port could not be bound and the reboot failed, what reboot() returned.
extern "C" int ws_soap_main(struct soap *soap);

// The first step of ws_soap_main: applies the settings, registers the plug-ins and binds. Returns the
// listening socket, or -1 with the reason as the context's fault.
int openService(struct soap *soap);

// The repeated step of ws_soap_main: waits for a request that can be served, serves it and forgets it.
// Logs a failed accept.
void serveConnection(struct soap *soap);
