// sim/security/sessions.cpp: the table of sessions.
#include "security/sessions.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <random>

#include "webServer.h"

using Clock = std::chrono::steady_clock; // setting the unit's time leaves it alone

static const std::size_t KEPT_SESSIONS = 16;

struct Session {
    std::string user;
    Clock::time_point lastUse;
};

static std::map<std::string, Session> sessions; // by id

static std::string newId()
{
    std::random_device random("/dev/urandom"); // throws when it cannot be read
    char id[33];
    snprintf(id, sizeof id, "%08x%08x%08x%08x", random(), random(), random(), random());
    return id;
}

std::string openSession(const std::string &user)
{
    if (sessions.size() == KEPT_SESSIONS)
        sessions.erase(std::min_element(sessions.begin(), sessions.end(),
                                        [](const auto &one, const auto &other) {
                                            return one.second.lastUse < other.second.lastUse;
                                        }));
    std::string id = newId();
    sessions[id] = {user, Clock::now()};
    return id;
}

std::string sessionUser(const std::string &id)
{
    const auto found = sessions.find(id);
    if (found == sessions.end())
        return {};
    Session &session = found->second;
    const Clock::time_point now = Clock::now();
    if (now - session.lastUse > std::chrono::seconds(sessTimeOut)) {
        sessions.erase(found);
        return {};
    }
    session.lastUse = now;
    return session.user;
}

void closeSession(const std::string &id)
{
    sessions.erase(id);
}

void endSessions(const std::string &user, const std::string &exceptId)
{
    for (auto session = sessions.begin(); session != sessions.end();)
        if (session->second.user == user && session->first != exceptId)
            session = sessions.erase(session);
        else
            ++session;
}
