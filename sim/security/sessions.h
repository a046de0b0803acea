// sim/security/sessions.h: the users who have logged in, by the id that the browser keeps as a cookie.
#ifndef SIM_SECURITY_SESSIONS_H
#define SIM_SECURITY_SESSIONS_H

#include <string>

// Returns the id of a new session; throws when the system gives no random numbers. When there are too
// many sessions, ends the one that has been idle for longest: the library does not report the end of
// every session.
std::string openSession(const std::string &user);

// Returns the user and restarts the idle time, or returns an empty text if the session is not live.
std::string sessionUser(const std::string &id);

void closeSession(const std::string &id);

// Ends the user's sessions except this one, which may be empty.
void endSessions(const std::string &user, const std::string &exceptId);

#endif
