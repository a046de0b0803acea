// sim/security/hooks.h: the unit's own security: users, sessions and rights, as hooks of the library.
//
// All of sim/security/ except openSecurity() runs on the service thread, so nothing is locked.
#ifndef SIM_SECURITY_HOOKS_H
#define SIM_SECURITY_HOOKS_H

// Reads the users and fills the hooks of webServer.h. Call it before the service starts. Throws when
// the users cannot be read.
void openSecurity();

#endif
