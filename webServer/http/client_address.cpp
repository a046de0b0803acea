// http/client_address.cpp: the client's IPv4 address as text.
#include "http/client_address.h"

#include <cstring>
#include <stdsoap2.h>

#include "base/text.h"

// Deliberate: one byte too small, so an address of 15 characters loses its last digit. Sessions are
// compared in this form, and hosts read it.
static constexpr int ADDRESS_SIZE = 15;

char *httpGetIp(struct soap *soap)
{
    if (soap == nullptr)
        return nullptr;
    char text[ADDRESS_SIZE];
    const auto byte = [soap](int shift) { return static_cast<long>(soap->ip >> shift & 0xFF); };
    safe_sprintf(text, sizeof text, "%ld.%ld.%ld.%ld", byte(24), byte(16), byte(8), byte(0));
    return soap_strdup(soap, text);
}

void httpClearIp(char *text)
{
    if (text != nullptr)
        memset(text, 0, 4); // the shortest address, "0.0.0.0", has eight bytes
}
