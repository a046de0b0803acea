// sim/security/accounts.h: the users of the unit, with their passwords, roles and locks.
#ifndef SIM_SECURITY_ACCOUNTS_H
#define SIM_SECURITY_ACCOUNTS_H

#include <chrono>
#include <string>
#include <vector>

struct Role {
    const char *name;
    int level; // one of the levels that the library asks the gate for
    bool administers;
};

extern const Role ROLES[4];
const Role *findRole(const std::string &name); // returns null for an unknown name

struct Account {
    using Clock = std::chrono::steady_clock; // setting the unit's time leaves it alone

    std::string name;
    std::string hash; // of the password
    std::vector<std::string> roles;
    bool locked = false; // by an administrator, until one unlocks it

    // Not in the file: a restart forgets them.
    int failures = 0; // wrong passwords in a row
    Clock::time_point lockedUntil;

    int level() const; // the highest of the roles; 0 without a role
    bool administers() const;
    bool isLocked() const; // by an administrator or by wrong passwords
    void forgetFailures();
};

// What the operations that change users answer.
enum AdministrationStatus {
    ADMIN_DONE = 0,
    ADMIN_NOT_YOU = 1, // the caller may not do this
    ADMIN_NO_USER = 2,
    ADMIN_BAD_VALUE = 3,   // unknown role, refused password, a lock that is neither 0 nor 1
    ADMIN_NOBODY_LEFT = 4, // no administrator could log in any more
    ADMIN_NOT_SAVED = 5,   // nothing has changed
};

// Reads the accounts, or makes the first ones if there is no file yet. Throws when the file is damaged
// or cannot be written.
void openAccounts();

// Returns the accounts in the order of the file; at least one.
const std::vector<Account> &allAccounts();

// Returns null for an unknown user. Every change invalidates the pointer.
Account *findAccount(const std::string &name);

// Returns the user's account; null for an unknown user, a wrong password and a locked user. Only the
// log says which of these: the client must not learn it. Several wrong passwords in a row lock the user
// for a while.
const Account *checkPassword(const std::string &user, const char *password);

// Replaces the account with this name, in the file and in memory. Returns ADMIN_DONE or
// ADMIN_NOBODY_LEFT; throws when the file cannot be written, and then has changed nothing.
AdministrationStatus changeAccount(const Account &changed);

#endif
