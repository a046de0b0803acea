// soap/stray_elements.cpp: elements of a request that are no field of its operation are skipped.
#include <stdsoap2.h>

// Called for those that have an id, or stand behind the operation. The generated function would build
// what it knows of them, however deep, for others to refer to; the runtime then resolves n references in
// a time of n cubed. The service's messages have none.
extern "C" __attribute__((visibility("default"))) void *soap_getelement(struct soap *soap,
                                                                        const char *, int *)
{
    soap->error = SOAP_TAG_MISMATCH;
    return nullptr;
}
