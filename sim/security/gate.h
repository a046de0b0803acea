// sim/security/gate.h: finds out who the caller of a request is, and what the caller may do.
#ifndef SIM_SECURITY_GATE_H
#define SIM_SECURITY_GATE_H

#include "security/accounts.h"

struct soap;

// pgf_parseAuth of webServer.h.
int gate(struct soap *request, int level);

// Returns the account for which the gate was asked last, or null. The library asks the gate right
// before each hook of user administration. A hook gets only the cookie, and a caller with a header
// sends none.
const Account *caller();

// Returns 'by "NAME"' for the log. While the host's security is off, the unit does not know its callers.
std::string byCaller();

// pgf_getSessionStatus of webServer.h: a session also ends when its user may no longer read.
int sessionStatus(const char *id);

#endif
