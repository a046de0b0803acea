// session/login.cpp: form login and logout; both send their own reply.
#include "session/login.h"

#include <cstdio>
#include <cstring>
#include <stdsoap2.h>

#include "base/thread_shared.h"
#include "http/client_info.h"
#include "http/cookies.h"
#include "http/send_file.h"
#include "session/lockout.h"
#include "session/relogin.h"
#include "session/session_table.h"
#include "webServer.h"

char *gblIpAddress = nullptr;

static const int MIN_WEB_LEVEL = 50;
static const std::size_t HOST_ID_SIZE = 80;
static const std::size_t SENT_COOKIE_SIZE = 98 + 1;
static const std::size_t START_PAGE_SIZE = 254 + 1;

// Deliberate: a prefix comparison. A login of "oper" ends the sessions of "operator", too, and an
// empty name ends all; one user has at most one session.
static void endSessionsOf(const char *user, struct soap *soap)
{
    for (int slot = 0; slot < MAX_SESSIONS; ++slot) {
        const char *owner = g_accesstok[slot].user;
        if (owner != nullptr && strncmp(owner, user, strlen(user)) == 0)
            clearSession(slot, soap);
    }
}

static void setSessionCookie(struct soap *soap, const char *id)
{
    char value[SENT_COOKIE_SIZE];
    snprintf(value, sizeof value, "%s", id);
    // The request's own go first: one of them might be found in place of the new one.
    soap_free_cookies(soap);
    // Deliberate: an empty domain, which the reply names as "Domain=".
    soap_set_cookie(soap, "SESSIONID", value, "", "/");
    soap_set_cookie_session(soap, "SESSIONID", "", "/"); // marks it for sending, too
}

static void sendWelcome(struct soap *soap, int accept, int level)
{
    if (accept == ACCEPT_JSON) {
        char status[100];
        safe_sprintf(status, sizeof status, "{\"status\":\"success\", \"level\":\"%u\"}",
                     static_cast<unsigned>(level));
        sendText(soap, "application/json", status);
        return;
    }
    // Deliberate: without the page there is no answer and no cookie, but the session stays.
    char path[START_PAGE_SIZE];
    snprintf(path, sizeof path, "%s%s", g_webDir, "QOPweb.htm");
    copy_file(soap, path, "text/html");
}

// The session's slot, or -1. hostId is the id that the host gave in host security mode.
static int openSession(struct soap *soap, const char *user, int level, const char *hostId)
{
    const int slot = createSession(soap);
    if (slot == -1)
        return -1;
    SessionEntry &session = g_accesstok[slot];
    session.level = level;
    removeAccessRetry(gblIpAddress);
    if (g_csEnabled != 0)
        session.id = strdup(hostId);
    if (session.user != nullptr)
        snprintf(session.user, SESSION_USER_SIZE, "%s", user);
    if (session.id != nullptr)
        return slot;
    freeSession(slot); // no memory for the id
    return -1;
}

int logInUser(struct soap *soap, const char *user, const char *password)
{
    const int accept = handleHTTPAccept(soap);
    initAccessRetry();
    gblIpAddress = httpGetIp(soap);
    const bool lockedOut = isWaitingAccess(gblIpAddress) != 0;
    // Deliberate: from here on the address is the empty text, so failures of all clients count as
    // one run and no client is ever locked out; the run only shows in the code "nvm".
    httpClearIp(gblIpAddress);
    if (lockedOut)
        return refuseLogin(soap, "nvm", -1);

    if (numOfSessions >= MAX_SESSIONS) {
        removeInactiveSes(soap);
        // Deliberate: the attempt that makes room is itself refused; the next one finds it.
        return refuseLogin(soap, "ms", -1);
    }

    char hostId[HOST_ID_SIZE + 1] = ""; // one more, should the host fill it without a terminator
    const auto verify = readShared(pgf_appUserVerify);
    const int level =
        verify == nullptr ? -1 : verify(user, password, g_csEnabled != 0 ? hostId : nullptr);
    if (level < 0)
        return refuseLogin(soap, createAccessRetry(gblIpAddress) == 1 ? "nvm" : "nv", level);
    if (level < MIN_WEB_LEVEL)
        return refuseLogin(soap, "ia", level);
    if (g_csEnabled != 0 && *hostId == '\0')
        return refuseLogin(soap, "is", level);

    endSessionsOf(user, soap);
    const int slot = openSession(soap, user, level, hostId);
    if (slot == -1)
        return refuseLogin(soap, "is", level);
    setSessionCookie(soap, g_accesstok[slot].id);
    sendWelcome(soap, accept, level);
    return level;
}

int logOutUser(struct soap *soap)
{
    const int slot = getSessionNum(sessionCookie(soap));
    if (slot == -1)
        return 0; // Deliberate: and no answer.
    // Deliberate: the browser keeps its cookie, which no longer counts.
    clearSession(slot, soap);
    return reLogin(soap, nullptr);
}
