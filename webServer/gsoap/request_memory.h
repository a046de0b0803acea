// gsoap/request_memory.h: memory that lives as long as a request.
#pragma once

#include <cstddef>

struct soap;

// Returns size bytes that gSOAP frees at the end of the request. Returns null when there are none: the
// caller then faults where its operation names a fault for it, and otherwise goes on with a null result.
char *requestMemory(struct soap *soap, std::size_t size);

// The same, zeroed.
char *requestText(struct soap *soap, std::size_t size);
