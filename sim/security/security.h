// sim/security/security.h: the unit's own security, behind the hooks of webServer.h.
#ifndef SIM_SECURITY_SECURITY_H
#define SIM_SECURITY_SECURITY_H

#include <string>

// Reads the users from the folder and fills the hooks. Call it before the service starts. Returns 0,
// or -1 after a message: the unit must not start.
int openSecurity(const std::string &folder);

#endif
