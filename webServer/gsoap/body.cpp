// gsoap/body.cpp: reads a form's body whole, or not at all.
#include "gsoap/body.h"

#include <stdsoap2.h>

#include "gsoap/limits.h"
#include "gsoap/out_of_memory.h"

// gSOAP delivers a body that ended early as if it were complete, so receivedNothing() decides.
static char *readBody(struct soap *soap, bool chunked)
{
    // A chunked body announces no length. gSOAP stops at recv_maxlength by itself, but only after the
    // buffer in which it passes the limit, so the exact count is compared below.
    const ULONG64 usualLimit = soap->recv_maxlength;
    soap->recv_maxlength = soap->count + maxRequestBytes() + sizeof soap->buf;
    soap->error = SOAP_OK;
    const ULONG64 before = soap->count;
    char *body = soap_http_get_form(soap);
    soap->recv_maxlength = usualLimit;
    const bool tooLong = chunked && soap->count - before > maxRequestBytes();
    return receivedNothing() || tooLong || soap->error != SOAP_OK ? nullptr : body;
}

char *form(struct soap *soap)
{
    const bool chunked = (soap->mode & SOAP_IO) == SOAP_IO_CHUNK;
    if (chunked)
        soap->length = 0; // gSOAP would trust a length that is announced beside the chunks
    // Checked here, because a length near 2^64 overflows an addition in gSOAP's own check.
    const bool readable = chunked || (soap->length > 0 && soap->length <= maxRequestBytes());
    char *body = readable ? readBody(soap, chunked) : nullptr;
    noteLackOfMemory(soap);
    soap->error = SOAP_OK;
    // gSOAP returns "?" for an empty body. No soap_end_recv follows: it would read the rest of a refused body,
    // and look for references in a table of 16 KB.
    return body == nullptr || body[1] == '\0' ? nullptr : body;
}
