// core/service_thread.h: the one thread that serves requests.
#pragma once

struct soap;

// Names the calling thread, blocks SIGPIPE on it and initialises the context.
extern "C" void ws_soap_initiate(struct soap *soap);
