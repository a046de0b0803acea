// gsoap/request_memory.h: memory that lives as long as a request.
#pragma once

#include <cstring>
#include <stdsoap2.h>

#include "gsoap/out_of_memory.h"

// Returns size zeroed bytes that gSOAP frees at the end of the request. Returns null when there are
// none: the caller then faults where its operation names a fault for it, and otherwise goes on with a
// null result.
inline char *requestText(struct soap *soap, std::size_t size)
{
    void *memory = soap_malloc(soap, size);
    noteLackOfMemory(soap); // a fault takes the place of the error
    return static_cast<char *>(memory == nullptr ? nullptr : memset(memory, 0, size));
}
