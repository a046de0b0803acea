// session/login.cpp: form login and logout.
#include "session/login.h"

#include <cstdio>
#include <stdsoap2.h>

#include "base/text.h"
#include "base/thread_shared.h"
#include "http/accept.h"
#include "http/client_address.h"
#include "http/cookies.h"
#include "http/send_file.h"
#include "session/lockout.h"
#include "session/login_delay.h"
#include "session/relogin.h"
#include "session/session_table.h"
#include "webServer.h"

char *gblIpAddress = nullptr;

static constexpr int MIN_WEB_LEVEL = 50;
static constexpr std::size_t HOST_ID_SIZE = 80; // promised to hosts
static constexpr std::size_t STATUS_SIZE = 100;
static constexpr std::size_t START_PAGE_SIZE = 254 + 1;

struct Login {
    int level;           // what logInUser returns
    const char *refusal; // the reason code for the browser; null: the login succeeded
};

static Login refused(int level, const char *code)
{
    return {level, code};
}

// Decides about a login and sends nothing. The order of the questions is behaviour.
static Login tryLogin(struct soap *soap, const char *user, const char *password)
{
    initAccessRetry();
    gblIpAddress = httpGetIp(soap);
    const bool lockedOut = isWaitingAccess(gblIpAddress) != 0;
    // Deliberate: from here on the address is the empty text. The failures of all clients count as one
    // run and no client is ever locked out; a long run only changes the code to "nvm".
    httpClearIp(gblIpAddress);
    if (lockedOut || loginIsTooEarly(soap->ip))
        return refused(-1, "nvm");

    if (numOfSessions >= MAX_SESSIONS) {
        removeInactiveSes(soap);
        // Deliberate: the login that makes room is itself refused; the next one finds the free slot.
        return refused(-1, "ms");
    }

    char hostId[HOST_ID_SIZE + 1] = ""; // one byte more, in case the host does not terminate its id
    const auto verify = readShared(pgf_appUserVerify);
    const int level =
        verify == nullptr ? -1 : verify(user, password, g_csEnabled != 0 ? hostId : nullptr);
    if (level < 0) {
        delayNextLogin(soap->ip);
        return refused(level, createAccessRetry(gblIpAddress) == 1 ? "nvm" : "nv");
    }
    if (level < MIN_WEB_LEVEL)
        return refused(level, "ia");
    if (g_csEnabled != 0 && *hostId == '\0')
        return refused(level, "is");

    endSessionsOf(user, soap);
    const int slot = openSession(soap, user, level, hostId);
    if (slot == -1)
        return refused(level, "is");
    // A browser without the cookie would look logged in, and be refused everywhere.
    if (!setSessionCookie(soap, g_accesstok[slot].id)) {
        clearSession(slot, soap);
        return refused(level, "is");
    }
    removeAccessRetry(gblIpAddress);
    forgetLoginDelay(soap->ip);
    return {level, nullptr};
}

static void sendWelcome(struct soap *soap, int accept, int level)
{
    if (accept == ACCEPT_JSON) {
        char status[STATUS_SIZE];
        safe_sprintf(status, sizeof status, "{\"status\":\"success\", \"level\":\"%u\"}",
                     static_cast<unsigned>(level));
        sendText(soap, "application/json", status);
        return;
    }
    // Deliberate: without the page there is no reply and no cookie, but the session stays.
    char path[START_PAGE_SIZE];
    snprintf(path, sizeof path, "%s%s", g_webDir, "QOPweb.htm");
    copy_file(soap, path, "text/html");
}

int logInUser(struct soap *soap, const char *user, const char *password)
{
    const int accept = handleHTTPAccept(soap);
    const Login login = tryLogin(soap, user, password);
    if (login.refusal != nullptr)
        reLogin(soap, login.refusal);
    else
        sendWelcome(soap, accept, login.level);
    return login.level;
}

int logOutUser(struct soap *soap)
{
    const int slot = getSessionNum(sessionCookie(soap));
    if (slot == -1)
        return 0; // Deliberate: the caller decides whether there is a reply.
    // Deliberate: the browser keeps its cookie, which names no session any more.
    clearSession(slot, soap);
    return reLogin(soap, nullptr);
}

void forgetLogin()
{
    gblIpAddress = nullptr;
}
