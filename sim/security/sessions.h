// sim/security/sessions.h: who has logged in, by the id that the browser keeps as a cookie.
#ifndef SIM_SECURITY_SESSIONS_H
#define SIM_SECURITY_SESSIONS_H

#include <cstddef>
#include <string>

static const std::size_t SESSION_ID_SIZE = 33; // hexadecimal digits of 16 bytes, and the terminator

// Writes the new session's id; 0, or -1: no random numbers. Ends the session that is idle for longest
// when there are too many: the library does not close every one that it asked for.
int openSession(const std::string &user, char *id);

// The user of a live session, which is thereby in use again; null: none. The id may be null.
const std::string *sessionUser(const char *id);

void closeSession(const char *id);

// All of a user, but not the one with this id, which may be null.
void endSessions(const std::string &user, const char *exceptId);

#endif
