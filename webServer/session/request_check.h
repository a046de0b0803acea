// session/request_check.h: does a request belong to a valid session?
#pragma once

struct soap;

enum SessionVerdict {
    SESSION_VALID,
    SESSION_NOT_NAMED,     // the request has no session cookie, or an empty one
    SESSION_UNKNOWN,       // no live session has this id
    SESSION_OF_ANOTHER,    // the session was made from another address
    SESSION_IDLE_FOR_LONG, // the session's inactivity limit has passed
};

// Checks a request without answering it. refresh 1, and only 1, records the time as the session's last
// activity when the session is valid; a non-zero checkTimeout also tests its inactivity. Writes the
// slot, or -1, to slotOut when that is not null and the request names a session.
SessionVerdict checkSession(struct soap *soap, short refresh, short checkTimeout, int *slotOut);

// Checks a request as checkSession does. Returns 0 when its session is valid. Otherwise sends the browser
// back to the login page, unless the request names no session, and returns -1.
extern "C" int httpCheckUser(struct soap *soap, short refresh, short checkTimeout, int *slotOut);
