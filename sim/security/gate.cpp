// sim/security/gate.cpp: the gate.
#include "security/gate.h"

#include <cstring>

#include "log.h"
#include "security/credentials.h"
#include "security/request.h"
#include "security/sessions.h"
#include "webServer.h"
#include "webServerHost.h"

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
    const char *header = requestHeader(request);
    return header == nullptr ? accountOfSession(requestSession(request)) : accountOfHeader(header);
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
        sLogWarn("security: may not act at level %d: %s", level, inQuotes(callerName).c_str());
    return answer;
}
