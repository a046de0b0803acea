// gsoap/overrides.cpp: replaces two functions that soapcpp2 generates. Of a request's envelope, ours
// read the header and the fields of the operation, and nothing else.
#include <soapH.h>

#pragma GCC visibility push(default) // the shared gSOAP library calls them by name

// Reads the header, if there is one. gSOAP calls this after it has opened the envelope, but it also does
// so without an open element, where it would serve an operation that stands alone, and in an Envelope of
// no namespace, whose version it would take from an encodingStyle.
int soap_getheader(struct soap *soap)
{
    if (soap->level == 0 || soap_match_tag(soap, soap->tag, "SOAP-ENV:Envelope") != SOAP_OK)
        return soap->error = SOAP_VERSIONMISMATCH;
    soap->part = SOAP_IN_HEADER;
    soap->header = soap_in_SOAP_ENV__Header(soap, "SOAP-ENV:Header", soap->header, nullptr);
    soap->part = SOAP_END_HEADER;
    return soap->header == nullptr;
}

// Always refuses. gSOAP calls this for elements after the operation, and for unknown elements with an
// id. The generated function would build each one, however deep, in case a field refers to it: that
// overruns the thread's stack, and n references take n^3 steps to resolve.
extern "C" void *soap_getelement(struct soap *soap, const char *, int *)
{
    soap->error = SOAP_TAG_MISMATCH;
    return nullptr;
}

#pragma GCC visibility pop
