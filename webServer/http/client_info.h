// http/client_info.h: what a request tells of its client: address, wished answer.
#pragma once

struct soap;

enum { ACCEPT_HTML = 0, ACCEPT_ANY = 1, ACCEPT_XML = 2, ACCEPT_TEXT = 3, ACCEPT_JSON = 4 };

extern "C" {

// The client's IPv4 address as text of at most 14 characters, which belongs to the request. Null
// without a context or without memory.
char *httpGetIp(struct soap *soap);

// Empties an address text by its first four bytes. Null is allowed.
void httpClearIp(char *text);

// What the client accepts, ACCEPT_...
int handleHTTPAccept(struct soap *soap);

// Formats, always terminated. Returns the bytes written with the terminator; size when the text was
// cut; -1 when size is not positive.
int safe_sprintf(char *buf, int size, const char *fmt, ...) __attribute__((format(printf, 3, 4)));
}
