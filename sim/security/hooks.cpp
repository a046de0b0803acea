// sim/security/hooks.cpp: login, sessions and user administration as the library's hooks.
#include "security/security.h"

#include <cstdlib>
#include <cstring>
#include <vector>

#include "log.h"
#include "security/accounts.h"
#include "security/credentials.h"
#include "security/gate.h"
#include "security/password.h"
#include "security/sessions.h"
#include "webServer.h"
#include "webServerHost.h"

static const int REFUSED = -1; // by the hooks that answer a level or a state

// ---- Login and sessions ------------------------------------------------------------------------

static int verifyLogin(const char *user, const char *password, char *sessionId)
{
    const Account *account = checkCredentials(user, password);
    if (account == nullptr)
        return REFUSED;
    const int level = account->level();
    sLogInfo("security: logs in, level %d: %s", level, inQuotes(user).c_str());
    if (level >= WS_LEVEL_READ && openSession(account->name, sessionId) != 0)
        sLogErr("security: no random numbers for a session");
    return level;
}

static int getSessionStatus(const char *sessionId)
{
    return verdict(accountOfSession(sessionId), WS_LEVEL_READ) == WS_ALLOWED ? 0 : REFUSED;
}

static int endSession(const char *sessionId, struct soap *)
{
    closeSession(sessionId);
    return 0;
}

// The unit's actions are the levels; its objects do not differ. Not asked by the library.
static int getAuthorization(const char *sessionId, int, int action)
{
    return verdict(accountOfSession(sessionId), action);
}

// ---- Lists -------------------------------------------------------------------------------------

static bool callerAdministers()
{
    return caller() != nullptr && caller()->administers();
}

static bool callerIs(const char *user)
{
    return caller() != nullptr && caller()->name == user;
}

// The library frees the texts and the array.
static int giveNames(const std::vector<const char *> &from, char ***names)
{
    *names = static_cast<char **>(calloc(from.size() + 1, sizeof **names));
    if (*names == nullptr)
        return 0;
    for (std::size_t i = 0; i < from.size(); ++i)
        (*names)[i] = strdup(from[i]);
    return static_cast<int>(from.size());
}

template <typename Wanted> static int giveUsers(char ***names, Wanted wanted)
{
    std::vector<const char *> users;
    for (const Account &account : allAccounts())
        if (callerAdministers() && wanted(account))
            users.push_back(account.name.c_str());
    return giveNames(users, names);
}

static int getUsersList(const char *, char ***names)
{
    return giveUsers(names, [](const Account &) { return true; });
}

static int getLockedUsers(const char *, char ***names)
{
    return giveUsers(names, [](const Account &account) { return account.isLocked(); });
}

static int getRolesList(const char *, char ***names)
{
    std::vector<const char *> roles;
    if (callerAdministers())
        for (const Role &role : ROLES)
            roles.push_back(role.name);
    return giveNames(roles, names);
}

static int getRolesListByUser(const char *, const char *user, char ***names)
{
    std::vector<const char *> roles;
    const Account *account = findAccount(user);
    if (account != nullptr && (callerAdministers() || callerIs(user)))
        for (const Role *role : account->roles)
            roles.push_back(role->name);
    return giveNames(roles, names);
}

// Not asked by the library.
static int getUserLockState(const char *, const char *user)
{
    const Account *account = findAccount(user);
    return account != nullptr && account->isLocked() ? 1 : 0;
}

// ---- Changes -----------------------------------------------------------------------------------

// edit(&account) changes a copy of the user's account, and answers as the client is to be answered.
template <typename Edit>
static AdministrationStatus tryChange(const char *user, bool allowed, Edit edit)
{
    if (!allowed)
        return ADMIN_NOT_YOU;
    const Account *account = findAccount(user);
    if (account == nullptr)
        return ADMIN_NO_USER;
    Account changed = *account;
    const AdministrationStatus status = edit(&changed);
    return status == ADMIN_DONE ? changeAccount(changed) : status;
}

template <typename Edit>
static int change(const char *what, const char *user, bool allowed, Edit edit)
{
    const AdministrationStatus status = tryChange(user, allowed, edit);
    const char *by = caller() == nullptr ? "" : caller()->name.c_str();
    sLogInfo("security: %s: %d: of %s, by %s", what, status, inQuotes(user).c_str(),
             inQuotes(by).c_str());
    return status;
}

static int setUserRoles(const char *, const char *user, const char *names)
{
    return change("roles", user, callerAdministers(), [names](Account *account) {
        return readRoles(names, &account->roles) ? ADMIN_DONE : ADMIN_BAD_VALUE;
    });
}

static int setUserPassword(const char *sessionId, const char *user, const char *password)
{
    const bool allowed = callerAdministers() || callerIs(user);
    const int status = change("password", user, allowed, [password](Account *account) {
        if (!isFitPassword(password))
            return ADMIN_BAD_VALUE;
        account->hash = hashPassword(password);
        if (callerAdministers()) {
            account->failures = 0;
            account->lockedUntil = {};
        }
        return account->hash.empty() ? ADMIN_NOT_SAVED : ADMIN_DONE;
    });
    if (status == ADMIN_DONE)
        endSessions(user, sessionId); // not the one that the user does this in
    return status;
}

static int setUserLock(const char *, const char *user, int lock)
{
    const char *what = lock == 0 ? "unlocking" : "locking";
    const int status = change(what, user, callerAdministers(), [lock](Account *account) {
        account->locked = lock == 1;
        account->failures = 0;
        account->lockedUntil = {};
        return lock == 0 || lock == 1 ? ADMIN_DONE : ADMIN_BAD_VALUE;
    });
    if (status == ADMIN_DONE && lock == 1)
        endSessions(user, nullptr);
    return status;
}

int openSecurity(const std::string &folder)
{
    if (openAccounts(folder) != 0)
        return -1;
    g_csEnabled = 1;
    pgf_parseAuth = gate;
    pgf_appUserVerify = verifyLogin;
    pgf_getSessionStatus = getSessionStatus;
    pgf_closeSession = endSession;
    pgf_getAuthorization = getAuthorization;
    pgf_ws_getUsersList = getUsersList;
    pgf_ws_getRolesList = getRolesList;
    pgf_ws_getRolesListByUser = getRolesListByUser;
    pgf_ws_getLockedUsers = getLockedUsers;
    pgf_ws_setUserRoles = setUserRoles;
    pgf_ws_setUserPassword = setUserPassword;
    pgf_ws_setUserLock = setUserLock;
    pgf_ws_getUserLockState = getUserLockState;
    return 0;
}
