/* gate.h: finds out who sends a request, and what the sender may do. */
#ifndef GATE_H
#define GATE_H

#include "users.h"

struct soap;

/* pgf_parseAuth of webServer.h. */
int gate(struct soap *request, int level);

/* pgf_getSessionStatus of webServer.h: a session also ends when its user may no longer read. */
int sessionStatus(const char *id);

/* Returns the user for whom the gate was asked last, or null. The library asks the gate right before each
 * hook of user administration, and the hook itself gets only the cookie. */
const struct User *caller(void);

#endif
