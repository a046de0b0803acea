// gsoap/overrides.cpp: replaces two functions that soapcpp2 generates. Of a request's envelope, ours
// read the header and the fields of the operation, and nothing else.
#include <soapH.h>

#pragma GCC visibility push(default) // the shared gSOAP library calls them by name

// Reads the header, if there is one. gSOAP calls this after it has opened the envelope. Without an open
// element the request has no envelope, and gSOAP would go on to serve an operation that stands alone.
int soap_getheader(struct soap *soap)
{
    if (soap->level == 0)
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
