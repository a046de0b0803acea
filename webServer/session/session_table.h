// session/session_table.h: the sessions of the users who are logged in. The table itself is in webServer.h;
// only the functions here write to it.
#pragma once

#include <cstdint>

struct soap;

extern "C" {

// Takes a free slot and returns it; returns -1 when there is none. The session's level is 0 and its
// user name empty. In host security mode, and without memory or random bytes for it, it has no id, and so the
// slot still counts as free.
int createSession(struct soap *soap);

// Returns the slot of the session with this id, which in host security mode the host must still know.
// Returns -1 when there is none, and for null.
int getSessionNum(const char *id);

// Returns the slot's level; -1 when the slot is not below numOfSessions.
int getSessionAccessLevel(int slot);

// Ends the session in the slot: reports it to the host, frees the slot and drops the request's cookies.
void clearSession(int slot, struct soap *soap);

// Ends every session that has been idle for longer than its limit.
void removeInactiveSes(struct soap *soap);

// Returns the milliseconds from then to now, across the counter's wrap. From 2^31 ms on the result is
// 1 ms short.
uint32_t diffTimestamp(uint32_t now, uint32_t then);
}

// Returns true when a session in the table has this id. Does not ask the host; null names no session.
bool isSessionId(const char *id);

// Makes the session of a user who has been granted this level and returns its slot. hostId is the id
// that the host chose; it counts in host security mode only. Returns -1, and leaves no session, when
// all slots are taken or memory is short.
int openSession(struct soap *soap, const char *user, int level, const char *hostId);

// Records now, a value of sysCnt1mlsg(), as the session's last activity.
void touchSession(int slot, uint32_t now);

// Ends every session whose user name begins with user.
void endSessionsOf(const char *user, struct soap *soap);
