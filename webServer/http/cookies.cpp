// http/cookies.cpp: the SESSIONID cookie, which names a caller's session.
#include "http/cookies.h"

#include <cstdio>
#include <cstring>
#include <stdsoap2.h>

#include "webServer.h"

static constexpr std::size_t SENT_COOKIE_SIZE = 98 + 1;

const char *sessionCookie(const struct soap *soap)
{
    for (const struct soap_cookie *cookie = soap->cookies; cookie != nullptr; cookie = cookie->next)
        if (cookie->name != nullptr && strcmp(cookie->name, SESSION_COOKIE) == 0)
            return cookie->value;
    return nullptr;
}

bool setSessionCookie(struct soap *soap, const char *id)
{
    char value[SENT_COOKIE_SIZE];
    snprintf(value, sizeof value, "%s", id);
    // The request's cookies may fill the list, and gSOAP would then add none.
    soap_free_cookies(soap);
    // Deliberate: an empty domain, which the reply shows as "Domain=".
    struct soap_cookie *cookie = soap_set_cookie(soap, SESSION_COOKIE, value, "", "/");
    if (cookie == nullptr || cookie->name == nullptr || cookie->value == nullptr) {
        soap_free_cookies(soap); // gSOAP's look-ups would compare the null name
        return false;
    }
    // gSOAP sends only cookies that are marked as modified, and a new one is not.
    cookie->modified = 1;
    cookie->session = 1;
    return true;
}

static int (*postHeader)(struct soap *, const char *key, const char *value);

// The fposthdr callback. gSOAP knows no SameSite, so the line is written here.
extern "C" {
static int postCookieHeader(struct soap *soap, const char *key, const char *value)
{
    if (g_webStrict == 0 || key == nullptr || strcmp(key, "Set-Cookie") != 0)
        return postHeader(soap, key, value);
    for (const char *part : {"Set-Cookie: ", value, ";SameSite=Strict\r\n"})
        if (soap_send(soap, part) != SOAP_OK)
            break;
    return soap->error;
}
}

void installCookieHeader(struct soap *soap)
{
    postHeader = soap->fposthdr;
    soap->fposthdr = postCookieHeader;
}
