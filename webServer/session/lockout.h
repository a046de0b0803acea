// session/lockout.h: who may not try to log in again. The table itself is in webServer.h.
#pragma once

extern "C" {

// Empties the table, on the first call only.
void initAccessRetry(void);

// The entry of this address; -1 when there is none, also for null.
int getAccessRetry(const char *ip);

// Records a failed login: 0 below the limit, 1 from the limit on, -1 when it cannot be recorded.
int createAccessRetry(char *ip);

// Makes an entry with one failure: 0, or -1 when the table is full or there is no memory.
int insertAccessRetryIP(char *ip);

// Counts one more failure of a known entry: 0 below the limit, 1 from the limit on, -1 for a free
// slot.
int addAccessRetry(int index);

// Forgets the failures of a known entry whose lock has expired.
void updateWaiting(int index);

// 1 while the address is locked out.
int isWaitingAccess(char *ip);

// Forgets the address.
void removeAccessRetry(const char *ip);
}
