// sim/security/accounts.cpp: the users in memory, and the first ones of a new unit.
#include "security/accounts.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "json_file.h"
#include "security/accounts_file.h"
#include "security/password.h"
#include "state_folder.h"
#include "webServerHost.h"

// A GET may climb, and a query gives any file an ending for everybody: who reaches the port can read
// this one, too, and a hash must be slow to guess.
static const char *const FILE_NAME = "/accounts";
static const mode_t FOLDER_MODE = 0700;

static const struct {
    const char *name; // the password, too
    const char *role;
} FIRST_USERS[] = {
    {"admin",    "ADMIN"   },
    {"engineer", "ENGINEER"},
    {"operator", "OPERATOR"},
    {"viewer",   "VIEWER"  },
};

static std::string file;
static std::vector<Account> accounts;

int Account::level() const
{
    int highest = 0;
    for (const Role *role : roles)
        highest = std::max(highest, role->level);
    return highest;
}

bool Account::administers() const
{
    return std::any_of(roles.begin(), roles.end(),
                       [](const Role *role) { return role->administers; });
}

bool Account::isLocked() const
{
    return locked || Clock::now() < lockedUntil;
}

static int makeFirstAccounts()
{
    for (const auto &user : FIRST_USERS) {
        Account account;
        account.name = user.name;
        account.hash = hashPassword(user.name);
        account.roles = {findRole(user.role)};
        if (account.hash.empty())
            return refuseFile(file, "cannot hash passwords: out of memory?");
        accounts.push_back(account);
    }
    if (writeAccounts(file, accounts) != 0)
        return refuseFile(file, strerror(errno));
    sLogWarn("security: made the first users; their passwords are their names");
    return 0;
}

int openAccounts(const std::string &folder)
{
    mkdir(folder.c_str(), FOLDER_MODE); // a failure shows below
    file = folder + FILE_NAME;
    accounts.clear();
    if (access(file.c_str(), F_OK) != 0 && errno == ENOENT)
        return makeFirstAccounts();
    return readAccounts(file, &accounts);
}

const std::vector<Account> &allAccounts()
{
    return accounts;
}

Account *findAccount(const char *name)
{
    for (Account &account : accounts)
        if (account.name == name)
            return &account;
    return nullptr;
}

AdministrationStatus changeAccount(const Account &changed)
{
    std::vector<Account> all = accounts;
    for (Account &account : all)
        if (account.name == changed.name)
            account = changed;
    if (!canBeAdministered(all))
        return ADMIN_NOBODY_LEFT;
    if (writeAccounts(file, all) != 0) {
        sLogErr("security: cannot write %s: %s", pathForPeople(file).c_str(), strerror(errno));
        return ADMIN_NOT_SAVED;
    }
    accounts = all;
    return ADMIN_DONE;
}
