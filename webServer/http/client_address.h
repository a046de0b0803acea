// http/client_address.h: the client's IPv4 address as text.
#pragma once

struct soap;

extern "C" {

// Returns the client's IPv4 address as text of at most 14 characters. The text belongs to the request.
// Returns null for a null context or when the request has no memory left.
char *httpGetIp(struct soap *soap);

// Empties an address text by zeroing its first four bytes. Does nothing for null.
void httpClearIp(char *text);
}
