// sim/security/accounts.h: the users of the unit, with their passwords, roles and locks.
//
// All of the security module runs on the service thread, except for the opening before the start:
// nothing here is locked against other threads.
#ifndef SIM_SECURITY_ACCOUNTS_H
#define SIM_SECURITY_ACCOUNTS_H

#include <chrono>
#include <string>
#include <vector>

#include "security/roles.h"

struct Account {
    using Clock = std::chrono::steady_clock; // the unit's own can be set

    std::string name;
    std::string hash; // of the password
    std::vector<const Role *> roles;
    bool locked = false; // by an administrator, until one unlocks it

    // Forgotten when the unit restarts.
    int failures = 0; // wrong passwords in a row
    Clock::time_point lockedUntil;

    int level() const; // the highest of the roles; 0: none
    bool administers() const;
    bool isLocked() const; // in either way
};

// What the operations that change users answer.
enum AdministrationStatus {
    ADMIN_DONE = 0,
    ADMIN_NOT_YOU = 1,     // the caller may not
    ADMIN_NO_USER = 2,     // no such user
    ADMIN_BAD_VALUE = 3,   // unknown role, unfit password, a lock that is neither 0 nor 1
    ADMIN_NOBODY_LEFT = 4, // no administrator could log in any more
    ADMIN_NOT_SAVED = 5,   // and so nothing has changed
};

// Reads the accounts, or makes the first ones where there is no file yet. Returns 0, or -1 after a
// message: the unit must not start.
int openAccounts(const std::string &folder);

// In the order of the file; never empty.
const std::vector<Account> &allAccounts();

// Null: no such user. What it points at moves with every change.
Account *findAccount(const char *name);

// Puts an account in the place of the one with its name, in the file and here, or in neither.
AdministrationStatus changeAccount(const Account &changed);

#endif
