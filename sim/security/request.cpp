// sim/security/request.cpp: the only file that looks into a request: see "The gate" in webServer.h.
#include "security/request.h"

#include <cstdio>
#include <cstring>
#include <stdsoap2.h>

#include "webServer.h"
#include "webServerHost.h"

struct SOAP_ENV__Header {
    char *Authentication;
};

static const std::size_t ADDRESS_BYTES = 14; // of which the library keeps with a session

const char *requestHeader(const struct soap *request)
{
    return request->header == nullptr ? nullptr : request->header->Authentication;
}

// By name only, and the first, as the library does.
static const char *sessionCookie(const struct soap *request)
{
    for (const struct soap_cookie *cookie = request->cookies; cookie != nullptr;
         cookie = cookie->next)
        if (cookie->name != nullptr && strcmp(cookie->name, "SESSIONID") == 0)
            return cookie->value;
    return nullptr;
}

static bool comesFromItsAddress(const struct soap *request, const char *id)
{
    char address[sizeof "255.255.255.255"];
    const auto byte = [request](int shift) {
        return static_cast<int>(request->ip >> shift & 0xFF);
    };
    snprintf(address, sizeof address, "%d.%d.%d.%d", byte(24), byte(16), byte(8), byte(0));
    for (const SessionEntry &session : g_accesstok)
        if (session.id != nullptr && strcmp(session.id, id) == 0)
            return session.ip != nullptr && strncmp(session.ip, address, ADDRESS_BYTES) == 0;
    return false;
}

// The origin is the site of the page that sends the request: programs, and browsers that only fetch
// from their page's own site, do not say it. Without the scheme, which a gateway may change.
static bool comesFromOwnPage(const struct soap *request)
{
    if (request->origin == nullptr)
        return true;
    const char *page = strstr(request->origin, "://");
    const char *unit = strstr(request->endpoint, "://"); // as the client addressed it, with a path
    return page != nullptr && unit != nullptr && strncmp(page, unit, strlen(page)) == 0
           && unit[strlen(page)] == '/';
}

const char *requestSession(const struct soap *request)
{
    const char *id = sessionCookie(request);
    if (id == nullptr || !comesFromItsAddress(request, id))
        return nullptr;
    if (comesFromOwnPage(request))
        return id;
    sLogWarn("security: a page of another site uses a cookie of this one: refused");
    return nullptr;
}
