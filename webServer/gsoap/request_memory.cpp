// gsoap/request_memory.cpp: memory that lives as long as a request.
#include "gsoap/request_memory.h"

#include <cstring>
#include <stdsoap2.h>

char *requestText(struct soap *soap, std::size_t size)
{
    void *memory = soap_malloc(soap, size);
    return static_cast<char *>(memory == nullptr ? nullptr : memset(memory, 0, size));
}
