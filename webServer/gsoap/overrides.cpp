// gsoap/overrides.cpp: of a request's envelope, header and fields of the operation are read, no more.
// These two functions replace generated ones, which would read more.
#include <soapH.h>

#pragma GCC visibility push(default) // the runtime calls them

// Reads the header, if there is one. Called when the envelope has been opened: where no element is
// open there is none, and the runtime would go on to serve an operation that stands by itself.
int soap_getheader(struct soap *soap)
{
    if (soap->level == 0)
        return soap->error = SOAP_VERSIONMISMATCH;
    soap->part = SOAP_IN_HEADER;
    soap->header = soap_in_SOAP_ENV__Header(soap, "SOAP-ENV:Header", soap->header, nullptr);
    soap->part = SOAP_END_HEADER;
    return soap->header == nullptr;
}

// Builds nothing. Called for elements that are no field and have an id, or stand behind the operation.
// The generated function builds those of a known type, however deep, for others to refer to, and the
// runtime then resolves n references in a time of n cubed. The service's messages have none.
extern "C" void *soap_getelement(struct soap *soap, const char *, int *)
{
    soap->error = SOAP_TAG_MISMATCH;
    return nullptr;
}

#pragma GCC visibility pop
