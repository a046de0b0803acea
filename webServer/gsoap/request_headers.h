// gsoap/request_headers.h: ignores header lines that only responses have.
#pragma once

struct soap;

// Puts itself between gSOAP and its parser of header lines. Call it once, after the plug-ins are
// registered: one of them also replaces that parser.
void ignoreResponseHeaders(struct soap *soap);
