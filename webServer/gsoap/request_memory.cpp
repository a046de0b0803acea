// gsoap/request_memory.cpp: memory that lives as long as a request.
#include "gsoap/request_memory.h"

#include <cstring>
#include <stdsoap2.h>

#include "gsoap/out_of_memory.h"

char *requestMemory(struct soap *soap, std::size_t size)
{
    void *memory = soap_malloc(soap, size);
    noteLackOfMemory(soap); // a fault takes the place of the error
    return static_cast<char *>(memory);
}

char *requestText(struct soap *soap, std::size_t size)
{
    char *memory = requestMemory(soap, size);
    return static_cast<char *>(memory == nullptr ? nullptr : memset(memory, 0, size));
}
