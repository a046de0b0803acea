// gsoap/request_headers.cpp: ignores header lines that are not gSOAP's to answer, and with WEB_STRICT refuses
// those that leave open where the request ends.
#include "gsoap/request_headers.h"

#include <cstring>
#include <stdsoap2.h>

#include "gsoap/transport.h"
#include "webServer.h"

// gSOAP is also a client library and reads these in requests: the first two as cookies, the next two
// beyond the end of a short value, and the last into the endpoint, which gates compare.
static constexpr const char *RESPONSE_HEADERS[] = {"Set-Cookie", "Set-Cookie2", "WWW-Authenticate",
                                                   "Proxy-Authenticate", "Location"};

static int (*parseHeader)(struct soap *, const char *, const char *);

// What the request that is being parsed has announced. Service thread only.
static struct {
    bool length, chunks;
} announced;

static bool isNumber(const char *text)
{
    return *text != '\0' && text[strspn(text, "0123456789")] == '\0';
}

// Returns true for a line by which a gateway may see another body than gSOAP: a second length, a length that is
// no number, chunks beside a length, another coding, and a name that does not end at the colon.
static bool isAmbiguous(const char *key, const char *value)
{
    const bool length = soap_tag_cmp(key, "Content-Length") == 0;
    const bool coding = soap_tag_cmp(key, "Transfer-Encoding") == 0;
    const bool again = (length || coding) && (announced.length || announced.chunks);
    announced.length = announced.length || length;
    announced.chunks = announced.chunks || coding;
    return again || (length && !isNumber(value)) || (coding && soap_tag_cmp(value, "chunked") != 0)
           || key[strcspn(key, " \t")] != '\0';
}

// The fparsehdr callback.
extern "C" {
static int parseRequestHeader(struct soap *soap, const char *key, const char *value)
{
    for (const char *name : RESPONSE_HEADERS)
        if (soap_tag_cmp(key, name) == 0)
            return SOAP_OK;
    if (g_webStrict != 0 && isAmbiguous(key, value))
        return soap->error = SOAP_EOF;
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

void forgetAnnouncements()
{
    announced = {};
}
