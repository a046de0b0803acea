// session/request_check.cpp: does a request belong to a valid session?
#include "session/request_check.h"

#include <cstdio>
#include <cstring>

#include "http/client_info.h"
#include "http/cookies.h"
#include "session/relogin.h"
#include "session/session_table.h"
#include "webServer.h"
#include "webServerHost.h"

static const std::size_t RECEIVED_COOKIE_SIZE = 254 + 1;

int httpCheckUser(struct soap *soap, short refresh, short checkTimeout, int *slotOut)
{
    const char *cookie = sessionCookie(soap);
    if (cookie == nullptr || *cookie == '\0')
        return -1;
    char id[RECEIVED_COOKIE_SIZE];
    snprintf(id, sizeof id, "%s", cookie);
    const int slot = getSessionNum(id);
    if (slotOut != nullptr)
        *slotOut = slot;
    if (slot == -1)
        return refuseLogin(soap, "is", -1);

    SessionEntry &session = g_accesstok[slot];
    const char *address = httpGetIp(soap);
    if (address == nullptr || session.ip == nullptr || strcmp(address, session.ip) != 0)
        return refuseLogin(soap, "wa", -1);

    // Deliberate: no caller asks for this test, so an idle session lives until it is replaced, logged
    // out or purged from a full table; and any checkTimeout but 0 tests, while only refresh 1 renews.
    const uint32_t now = sysCnt1mlsg();
    if (checkTimeout != 0 && diffTimestamp(now, session.lastActivity) > session.timeoutMs)
        return refuseLogin(soap, "to", -1);
    if (refresh == 1)
        session.lastActivity = now;
    return 0;
}
