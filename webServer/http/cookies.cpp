// http/cookies.cpp: the SESSIONID cookie, which names a caller's session.
#include "http/cookies.h"

#include <cstdio>
#include <cstring>
#include <stdsoap2.h>

static constexpr std::size_t SENT_COOKIE_SIZE = 98 + 1;

const char *sessionCookie(const struct soap *soap)
{
    for (const struct soap_cookie *cookie = soap->cookies; cookie != nullptr; cookie = cookie->next)
        if (cookie->name != nullptr && strcmp(cookie->name, SESSION_COOKIE) == 0)
            return cookie->value;
    return nullptr;
}

void setSessionCookie(struct soap *soap, const char *id)
{
    char value[SENT_COOKIE_SIZE];
    snprintf(value, sizeof value, "%s", id);
    // gSOAP overwrites the value of a cookie that it already has, and the browser's own might be that.
    soap_free_cookies(soap);
    // Deliberate: an empty domain, which the reply shows as "Domain=".
    soap_set_cookie(soap, SESSION_COOKIE, value, "", "/");
    // gSOAP sends only cookies that are marked as modified; a new one is not, and this call marks it.
    soap_set_cookie_session(soap, SESSION_COOKIE, "", "/");
}
