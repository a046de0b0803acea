// http/accept.h: the kind of answer that a client's Accept header asks for.
#pragma once

struct soap;

enum { ACCEPT_HTML = 0, ACCEPT_ANY = 1, ACCEPT_XML = 2, ACCEPT_TEXT = 3, ACCEPT_JSON = 4 };

// Returns the ACCEPT_ value for the request's Accept header; ACCEPT_ANY when it has none.
extern "C" int handleHTTPAccept(struct soap *soap);
