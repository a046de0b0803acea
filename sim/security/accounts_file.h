// sim/security/accounts_file.h: the users as a file.
#ifndef SIM_SECURITY_ACCOUNTS_FILE_H
#define SIM_SECURITY_ACCOUNTS_FILE_H

#include <string>
#include <vector>

#include "security/accounts.h"

// 0, or -1 after a message: the file is damaged, and stays as it is.
int readAccounts(const std::string &path, std::vector<Account> *accounts);

// 0, or -1 with errno.
int writeAccounts(const std::string &path, const std::vector<Account> &accounts);

// Is there an administrator whom nobody has locked? Without one the users could never be changed.
bool canBeAdministered(const std::vector<Account> &accounts);

#endif
