// soap/fault_detail.h: fault details that carry a client's text.
#pragma once

#include <soapH.h>

// Formats a detail, cuts it at 1,023 bytes and escapes it, since a detail goes out as raw XML.
// Belongs to the request; null when there is no memory.
const char *faultDetail(struct soap *soap, const char *format, ...)
    __attribute__((format(printf, 2, 3)));
