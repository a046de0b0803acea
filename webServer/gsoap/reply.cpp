// gsoap/reply.cpp: ends a reply, or sends none, or sends one that is only a header.
#include "gsoap/reply.h"

#include <stdsoap2.h>

#include "gsoap/out_of_memory.h"

static soap_mode withoutTransfer(soap_mode mode)
{
    return mode & ~static_cast<soap_mode>(SOAP_IO);
}

int endReply(struct soap *soap)
{
    const int error = soap->error;
    if (error == SOAP_OK)
        return soap_end_send(soap);
    noteLackOfMemory(soap);
    sendNothing(soap);
    return error;
}

// After a chunked request soap_end_send would send the end of a chunked reply.
int sendNothing(struct soap *soap)
{
    soap->mode = withoutTransfer(soap->mode);
    return soap_end_send(soap);
}

// soap_response would collect the body in memory to count it; here the length is known.
int sendFileHeader(struct soap *soap, const char *contentType, uint64_t length)
{
    soap->omode = withoutTransfer(soap->omode) | SOAP_IO_BUFFER;
    soap->status = SOAP_FILE;
    if (soap_begin_send(soap) != SOAP_OK)
        return soap->error;
    soap->http_content = contentType;
    soap->error = soap->fresponse(soap, SOAP_FILE, length);
    return soap->error == SOAP_OK ? soap_flush(soap) : soap->error;
}

// gSOAP would send each line in pieces, and nothing at all after a chunked request; buffered, the
// lines leave together.
void sendHeader(struct soap *soap, std::initializer_list<HeaderLine> lines)
{
    soap->mode = withoutTransfer(soap->mode) | SOAP_IO_BUFFER;
    soap->bufidx = 0;
    for (const HeaderLine &line : lines)
        soap->fposthdr(soap, line.key, line.value);
    soap->fposthdr(soap, nullptr, nullptr);
    soap_flush(soap);
}
