// sim/security/sessions.cpp: the table of sessions.
#include "security/sessions.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <sys/random.h>

#include "webServer.h"

using Clock = std::chrono::steady_clock; // the unit's own can be set

static const std::size_t KEPT_SESSIONS = 16;
static const std::size_t RANDOM_BYTES = (SESSION_ID_SIZE - 1) / 2;

struct Session {
    char id[SESSION_ID_SIZE]; // empty: free
    std::string user;
    Clock::time_point lastUse;
};

static Session sessions[KEPT_SESSIONS];

static Session *findSession(const char *id)
{
    if (id == nullptr || *id == '\0')
        return nullptr;
    for (Session &session : sessions)
        if (strcmp(session.id, id) == 0)
            return &session;
    return nullptr;
}

int openSession(const std::string &user, char *id)
{
    unsigned char bytes[RANDOM_BYTES];
    if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes))
        return -1;
    for (std::size_t i = 0; i < RANDOM_BYTES; ++i)
        snprintf(id + 2 * i, 3, "%02x", bytes[i]);

    Session *oldest = std::min_element(
        std::begin(sessions), std::end(sessions),
        [](const Session &one, const Session &other) { return one.lastUse < other.lastUse; });
    snprintf(oldest->id, sizeof oldest->id, "%s", id);
    oldest->user = user;
    oldest->lastUse = Clock::now();
    return 0;
}

const std::string *sessionUser(const char *id)
{
    Session *session = findSession(id);
    if (session == nullptr)
        return nullptr;
    const Clock::time_point now = Clock::now();
    if (now - session->lastUse > std::chrono::seconds(sessTimeOut)) {
        *session = {};
        return nullptr;
    }
    session->lastUse = now;
    return &session->user;
}

void closeSession(const char *id)
{
    Session *session = findSession(id);
    if (session != nullptr)
        *session = {}; // and so the oldest
}

void endSessions(const std::string &user, const char *exceptId)
{
    for (Session &session : sessions)
        if (session.user == user && (exceptId == nullptr || strcmp(session.id, exceptId) != 0))
            session = {};
}
