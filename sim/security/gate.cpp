// sim/security/gate.cpp: finds the caller in a request, as "The gate" in webServer.h describes it.
#include "security/gate.h"

#include <arpa/inet.h>
#include <cstring>
#include <stdsoap2.h>

#include "plain_text.h"
#include "security/sessions.h"
#include "webServer.h"
#include "webServerHost.h"

struct SOAP_ENV__Header {
    char *Authentication;
};

static const int NOT_ALLOWED = 1;            // known, but not allowed
static const std::size_t ADDRESS_BYTES = 14; // the library keeps so many with a session

static std::string callerName; // of the last question to the gate; empty: not authenticated

const Account *caller()
{
    return findAccount(callerName);
}

std::string byCaller()
{
    return "by " + (callerName.empty() ? "an unknown user" : inQuotes(callerName));
}

// Compares names only and takes the first cookie, as the library does.
static const char *sessionCookie(const struct soap *request)
{
    for (const struct soap_cookie *cookie = request->cookies; cookie != nullptr;
         cookie = cookie->next)
        if (cookie->name != nullptr && strcmp(cookie->name, "SESSIONID") == 0)
            return cookie->value;
    return nullptr;
}

// Returns true if the request comes from the address that logged in.
static bool comesFromItsAddress(const struct soap *request, const char *id)
{
    const struct in_addr number = {htonl(request->ip)};
    char address[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &number, address, sizeof address);
    for (const SessionEntry &session : g_accesstok)
        if (session.id != nullptr && strcmp(session.id, id) == 0)
            return session.ip != nullptr && strncmp(session.ip, address, ADDRESS_BYTES) == 0;
    return false;
}

// Returns true unless a page of another site sends the request. The origin is the site of that page.
// Programs send none, and neither do browsers that only fetch from the page's own site. The scheme is
// not compared, because a gateway may change it.
static bool comesFromOwnPage(const struct soap *request)
{
    if (request->origin == nullptr)
        return true;
    const char *page = strstr(request->origin, "://");
    const char *unit = strstr(request->endpoint, "://"); // as the client addressed it, with a path
    return page != nullptr && unit != nullptr && strncmp(page, unit, strlen(page)) == 0
           && unit[strlen(page)] == '/';
}

static const Account *accountOfSession(const char *id)
{
    const std::string user = sessionUser(id);
    return user.empty() ? nullptr : findAccount(user);
}

static const Account *accountOfCookie(const struct soap *request)
{
    const char *id = sessionCookie(request);
    if (id == nullptr || !comesFromItsAddress(request, id))
        return nullptr;
    if (comesFromOwnPage(request))
        return accountOfSession(id);
    sLogWarn("security: a page of another site uses a cookie of this one: refused");
    return nullptr;
}

// The header is "user:password" as plain text: nothing that is sent to the unit is encrypted.
static const Account *accountOfHeader(const char *text)
{
    const char *colon = strchr(text, ':');
    return colon == nullptr ? nullptr : checkPassword(std::string(text, colon), colon + 1);
}

// With a wrong password in the header the cookie does not count. Otherwise the sender would act as the
// user of the cookie without noticing it.
static const Account *findCaller(const struct soap *request)
{
    if (request->header == nullptr || request->header->Authentication == nullptr)
        return accountOfCookie(request);
    return accountOfHeader(request->header->Authentication);
}

static int verdict(const Account *account, int level)
{
    if (account == nullptr)
        return WS_NOT_AUTHENTICATED;
    return account->level() >= level ? WS_ALLOWED : NOT_ALLOWED;
}

int gate(struct soap *request, int level)
{
    const Account *account = findCaller(request);
    callerName = account == nullptr ? "" : account->name;
    if (account != nullptr)
        g_highLevel = account->level(); // getUserAuth returns it
    const int answer = verdict(account, level);
    if (answer == NOT_ALLOWED)
        sLogWarn("security: may not act at level %d: %s", level, inQuotes(callerName).c_str());
    return answer;
}

int sessionStatus(const char *id)
{
    return verdict(accountOfSession(id), WS_LEVEL_READ) == WS_ALLOWED ? 0 : -1;
}
