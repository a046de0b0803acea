// sim/security/gate.h: who is the caller of a request, and may he act?
#ifndef SIM_SECURITY_GATE_H
#define SIM_SECURITY_GATE_H

#include "security/accounts.h"

struct soap;

// pgf_parseAuth of webServer.h.
int gate(struct soap *request, int level);

// Who made the request that the gate was asked for last, or null. The library asks it right before a
// hook of user administration, and a caller with a header has no cookie that the hook could tell.
const Account *caller();

// Of a live session; null: none. The id may be null.
const Account *accountOfSession(const char *id);

// The gate's answer for a user, who may be null.
int verdict(const Account *account, int level);

#endif
