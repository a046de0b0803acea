// gsoap/request_headers.h: ignores header lines that only responses have, and with WEB_STRICT refuses those
// that leave open where the request ends.
#pragma once

struct soap;

// Puts itself between gSOAP and its parser of header lines. Call it once, after the plug-ins are
// registered: one of them also replaces that parser.
void ignoreResponseHeaders(struct soap *soap);

// Forgets the lengths of the request before. Call it when a connection has been accepted.
void forgetAnnouncements();
