// gsoap/request_headers.cpp: ignores header lines that are not gSOAP's to answer.
#include "gsoap/request_headers.h"

#include <stdsoap2.h>

#include "gsoap/transport.h"

// gSOAP is also a client library and reads these in requests: the first two as cookies, the next two
// beyond the end of a short value, and the last into the endpoint, which gates compare.
static constexpr const char *RESPONSE_HEADERS[] = {"Set-Cookie", "Set-Cookie2", "WWW-Authenticate",
                                                   "Proxy-Authenticate", "Location"};

static int (*parseHeader)(struct soap *, const char *, const char *);

// The fparsehdr callback.
extern "C" {
static int parseRequestHeader(struct soap *soap, const char *key, const char *value)
{
    for (const char *name : RESPONSE_HEADERS)
        if (soap_tag_cmp(key, name) == 0)
            return SOAP_OK;
    // The connection has answered it while the body was missing; gSOAP would answer it again.
    if (soap_tag_cmp(key, "Expect") == 0 && servesConnection(soap))
        return SOAP_OK;
    return parseHeader(soap, key, value);
}
}

void ignoreResponseHeaders(struct soap *soap)
{
    parseHeader = soap->fparsehdr;
    soap->fparsehdr = parseRequestHeader;
}
