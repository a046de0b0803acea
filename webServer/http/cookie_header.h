// http/cookie_header.h: reads the cookies that a client sends into gSOAP's list.
#pragma once

struct soap;

// Puts itself between gSOAP and its parser of header lines. Call it once, after the plug-ins are
// registered: one of them also replaces that parser. isSession returns true when the id names a session;
// it decides which cookie counts when a client sends several SESSIONID.
void readCookieHeaders(struct soap *soap, bool (*isSession)(const char *id));
