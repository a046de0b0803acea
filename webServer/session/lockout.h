// session/lockout.h: counts failed logins by address, and locks an address out. The table itself is in
// webServer.h.
#pragma once

extern "C" {

// Empties the table, on the first call only.
void initAccessRetry(void);

// Returns the entry of this address; -1 when there is none, and for null.
int getAccessRetry(const char *ip);

// Records a failed login. Returns 0 below the limit, 1 from the limit on, -1 when it cannot be recorded.
int createAccessRetry(char *ip);

// Makes an entry with one failure. Returns 0; -1 for null, and when the table is full or there is no
// memory.
int insertAccessRetryIP(char *ip);

// Counts one more failure of a known entry. Returns 0 below the limit, 1 from the limit on, -1 for a free
// slot.
int addAccessRetry(int index);

// Forgets the failures of a known entry whose lock has expired.
void updateWaiting(int index);

// Returns 1 while the address is locked out, else 0.
int isWaitingAccess(char *ip);

// Forgets the address, if it is known.
void removeAccessRetry(const char *ip);
}
