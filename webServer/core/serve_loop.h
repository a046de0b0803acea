// core/serve_loop.h: the gSOAP context's life: settings, bind, accept and serve, release.
#pragma once

#include <stdsoap2.h>

extern "C" {

// Names the calling thread, blocks SIGPIPE on it and initialises the context.
void ws_soap_initiate(struct soap *soap);

// Serves until ws_soap_close() and releases the context. Returns what close() of the listening
// socket gave, or, when the port cannot be bound and the unit refuses to reboot, what reboot() gave.
int ws_soap_main(struct soap *soap);
}

// The steps of ws_soap_main. Applies the settings, registers the plug-ins and binds: the listening
// socket, or -1 with the reason as the context's fault.
int openService(struct soap *soap);

// Accepts one connection, serves its request and forgets it.
void serveConnection(struct soap *soap);
