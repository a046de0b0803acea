// session/request_check.cpp: does a request belong to a valid session?
#include "session/request_check.h"

#include <cstdio>
#include <cstring>

#include "http/client_address.h"
#include "http/cookies.h"
#include "session/relogin.h"
#include "session/session_table.h"
#include "webServer.h"
#include "webServerHost.h"

static constexpr std::size_t RECEIVED_COOKIE_SIZE = 254 + 1;

SessionVerdict checkSession(struct soap *soap, short refresh, short checkTimeout, int *slotOut)
{
    const char *cookie = sessionCookie(soap);
    if (cookie == nullptr || *cookie == '\0')
        return SESSION_NOT_NAMED;
    char id[RECEIVED_COOKIE_SIZE];
    snprintf(id, sizeof id, "%s", cookie);
    const int slot = getSessionNum(id);
    if (slotOut != nullptr)
        *slotOut = slot;
    if (slot == -1)
        return SESSION_UNKNOWN;

    const SessionEntry &session = g_accesstok[slot];
    const char *address = httpGetIp(soap);
    if (address == nullptr || session.ip == nullptr || strcmp(address, session.ip) != 0)
        return SESSION_OF_ANOTHER;

    // Deliberate: the library never asks for this test, so an idle session lives until it is replaced,
    // logged out or purged from a full table. Any checkTimeout but 0 tests, while only refresh 1 renews.
    const uint32_t now = sysCnt1mlsg();
    if (checkTimeout != 0 && diffTimestamp(now, session.lastActivity) > session.timeoutMs)
        return SESSION_IDLE_FOR_LONG;
    if (refresh == 1)
        touchSession(slot, now);
    return SESSION_VALID;
}

// The reason code that the login page shows; null: no page is sent.
static const char *reasonCode(SessionVerdict verdict)
{
    switch (verdict) {
    case SESSION_UNKNOWN:
        return "is";
    case SESSION_OF_ANOTHER:
        return "wa";
    case SESSION_IDLE_FOR_LONG:
        return "to";
    default:
        return nullptr;
    }
}

int httpCheckUser(struct soap *soap, short refresh, short checkTimeout, int *slotOut)
{
    const SessionVerdict verdict = checkSession(soap, refresh, checkTimeout, slotOut);
    const char *code = reasonCode(verdict);
    if (code != nullptr)
        reLogin(soap, code);
    return verdict == SESSION_VALID ? 0 : -1;
}
