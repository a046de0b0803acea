// http/origin.cpp: does a page of another site send the request?
#include "http/origin.h"

#include <cstring>
#include <stdsoap2.h>

// The scheme is not compared, because a gateway may change it.
bool namesAnotherOrigin(const struct soap *soap)
{
    if (soap->origin == nullptr)
        return false;
    const char *page = strstr(soap->origin, "://");   // null for "null", which has no site
    const char *unit = strstr(soap->endpoint, "://"); // the Host that was addressed, and the path
    if (page == nullptr || unit == nullptr)
        return true;
    const std::size_t length = strlen(page);
    return strncasecmp(page, unit, length) != 0 || unit[length] != '/';
}
