// sim/security/credentials.h: is this the user's password? Wrong ones lock the user for a while.
#ifndef SIM_SECURITY_CREDENTIALS_H
#define SIM_SECURITY_CREDENTIALS_H

#include "security/accounts.h"

// Null: no such user, wrong password, or locked; the log says which, the caller must not.
const Account *checkCredentials(const char *user, const char *password);

#endif
