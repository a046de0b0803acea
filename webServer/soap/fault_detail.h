// soap/fault_detail.h: fault details that carry a client's text.
#pragma once

#include <soapH.h>

// Formats a detail, cuts it at 1,023 bytes and escapes it, since gSOAP sends a detail as raw XML.
// Returns a text that belongs to the request, or null when there is no memory.
const char *faultDetail(struct soap *soap, const char *format, ...)
    __attribute__((format(printf, 2, 3)));
