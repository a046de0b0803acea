// session/session_table.h: who is logged in. The table itself is in webServer.h.
#pragma once

#include <cstdint>

struct soap;

extern "C" {

// Takes a free slot; -1 when there is none. The caller sets level, user name and, in host security
// mode, the id.
int createSession(struct soap *soap);

// The slot of the session with this id, which in host security mode the host must still know; else
// -1, also for null.
int getSessionNum(const char *id);

// The slot's level; -1 when the slot is not below numOfSessions.
int getSessionAccessLevel(int slot);

// Ends the session in the slot: tells the host and drops the request's cookies.
void clearSession(int slot, struct soap *soap);

// Ends every session that has been idle for longer than its limit.
void removeInactiveSes(struct soap *soap);

// Milliseconds from then to now, over the counter's wrap; one less from 2^31 on.
uint32_t diffTimestamp(uint32_t now, uint32_t then);
}

// Frees a slot and what it owns.
void freeSession(int slot);

enum { SESSION_USER_SIZE = 300 };
