/* sessions.h: the users who have logged in, by the id that the browser keeps as a cookie. */
#ifndef SESSIONS_H
#define SESSIONS_H

enum { ID_SIZE = 33 }; /* 128 random bits as text */

/* Makes a session and writes its id. Takes the place of the one that has been idle for longest if all are
 * in use, because the library does not report the end of every session. Returns 0, or -1 if the system
 * gives no random numbers. */
int openSession(const char *user, char id[ID_SIZE]);

/* Returns the user's name and restarts the idle time, or returns null if the session is not live. */
const char *sessionUser(const char *id);

void closeSession(const char *id);

/* Ends the user's sessions except this one, which may be null. */
void endSessions(const char *user, const char *exceptId);

#endif
