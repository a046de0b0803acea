// gsoap/context.h: sets the one gSOAP context up, cleans it between requests, and releases it.
// docs/gsoap.md lists what gSOAP does wrong, and the corrections that stay outside this folder.
#pragma once

struct soap;

// Initialises the context's memory. Call it on the thread that will use the context.
void initContext(struct soap *soap);

// Applies the settings that hold for every request. Call it once, before the bind.
void configureContext(struct soap *soap);

// Forgets all that the context keeps of a request: memory, connection, cookies, address, path.
void forgetRequest(struct soap *soap);

// Frees all that the context holds, plug-ins and listening socket included.
void releaseContext(struct soap *soap);

// Returns the text of the context's last failure, "" when it has none. It lives until the context
// forgets the request.
const char *failureText(struct soap *soap);
