// sim/security/gate.cpp: the gate. The only file that looks into a request: see "The gate" in
// webServer.h.
#include "security/gate.h"

#include <cstring>
#include <stdsoap2.h>

#include "security/credentials.h"
#include "security/sessions.h"
#include "webServer.h"
#include "webServerHost.h"

struct SOAP_ENV__Header {
    char *Authentication;
};

static const int NOT_ALLOWED = 1; // known, but not allowed

static std::string callerName; // empty: nobody

const Account *caller()
{
    return findAccount(callerName.c_str());
}

const Account *accountOfSession(const char *id)
{
    const std::string *user = sessionUser(id);
    return user == nullptr ? nullptr : findAccount(user->c_str());
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

// The header is "user:password" as plain text: nothing that is sent to the unit is encrypted.
static const Account *accountOfHeader(const char *text)
{
    const char *colon = strchr(text, ':');
    if (colon == nullptr)
        return nullptr;
    const std::string user(text, colon);
    return checkCredentials(user.c_str(), colon + 1);
}

// A wrong header is not made good by a cookie: its sender would act as somebody else.
static const Account *findCaller(const struct soap *request)
{
    if (request->header != nullptr && request->header->Authentication != nullptr)
        return accountOfHeader(request->header->Authentication);
    return accountOfSession(sessionCookie(request));
}

int verdict(const Account *account, int level)
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
        g_highLevel = account->level(); // what getUserAuth tells the caller
    const int answer = verdict(account, level);
    if (answer == NOT_ALLOWED)
        sLogWarn("security: %s: may not act at level %d", callerName.c_str(), level);
    return answer;
}
