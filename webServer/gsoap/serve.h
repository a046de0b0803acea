// gsoap/serve.h: serves a connection as the generated soap_serve does, with less work.
#pragma once

struct soap;

// Serves the accepted connection and closes it. Returns a gSOAP error; the client has been answered.
int serveRequests(struct soap *soap);
