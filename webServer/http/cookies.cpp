// http/cookies.cpp: the cookie that names a caller's session.
#include "http/cookies.h"

#include <cstring>
#include <stdsoap2.h>

// By name only: soap_cookie_value also compares the path, which gSOAP gives a received cookie from
// the request before this one, and the domain, which a client may send as it likes.
const char *sessionCookie(const struct soap *soap)
{
    for (const struct soap_cookie *cookie = soap->cookies; cookie != nullptr; cookie = cookie->next)
        if (cookie->name != nullptr && strcmp(cookie->name, "SESSIONID") == 0)
            return cookie->value;
    return nullptr;
}
