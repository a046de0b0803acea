// sim/security/hooks.cpp: login, sessions and user administration, as the library's hooks.
#include "security/hooks.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "plain_text.h"
#include "security/accounts.h"
#include "security/gate.h"
#include "security/password.h"
#include "security/sessions.h"
#include "webServer.h"
#include "webServerHost.h"

static const int REFUSED = -1;                 // in place of a level
static const std::size_t SESSION_ID_SIZE = 80; // the library has room for so many bytes

// ---- Login and sessions ------------------------------------------------------------------------

static int verifyLogin(const char *user, const char *password, char *sessionId)
{
    const Account *account = checkPassword(user, password);
    if (account == nullptr)
        return REFUSED;
    const int level = account->level();
    sLogInfo("security: logs in, level %d: %s", level, inQuotes(user).c_str());
    try {
        if (level >= WS_LEVEL_READ)
            snprintf(sessionId, SESSION_ID_SIZE, "%s", openSession(account->name).c_str());
    } catch (const std::exception &error) { // the library refuses a login that has no session id
        sLogErr("security: %s", error.what());
    }
    return level;
}

static int endSession(const char *sessionId, struct soap *)
{
    if (sessionId != nullptr)
        closeSession(sessionId);
    return 0;
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
static int giveNames(const std::vector<std::string> &from, char ***names)
{
    *names = static_cast<char **>(calloc(from.size() + 1, sizeof **names));
    if (*names == nullptr)
        return 0;
    for (std::size_t i = 0; i < from.size(); ++i)
        (*names)[i] = strdup(from[i].c_str());
    return static_cast<int>(from.size());
}

// Gives an administrator the names of all items that are wanted, and other callers none.
template <typename Items, typename Wanted>
static int giveNamesOf(const Items &items, char ***names, Wanted wanted)
{
    std::vector<std::string> wantedNames;
    for (const auto &item : items)
        if (callerAdministers() && wanted(item))
            wantedNames.emplace_back(item.name);
    return giveNames(wantedNames, names);
}

static int getUsersList(const char *, char ***names)
{
    return giveNamesOf(allAccounts(), names, [](const Account &) { return true; });
}

static int getLockedUsers(const char *, char ***names)
{
    return giveNamesOf(allAccounts(), names, [](const Account &user) { return user.isLocked(); });
}

static int getRolesList(const char *, char ***names)
{
    return giveNamesOf(ROLES, names, [](const Role &) { return true; });
}

static int getRolesListByUser(const char *, const char *user, char ***names)
{
    const Account *account = findAccount(user);
    const bool allowed = account != nullptr && (callerAdministers() || callerIs(user));
    return giveNames(allowed ? account->roles : std::vector<std::string>(), names);
}

// ---- Changes -----------------------------------------------------------------------------------

// edit(&account) changes a copy of the user's account and returns ADMIN_DONE or ADMIN_BAD_VALUE.
template <typename Edit>
static AdministrationStatus tryChange(const char *user, bool allowed, Edit edit)
{
    if (!allowed)
        return ADMIN_NOT_YOU;
    const Account *account = findAccount(user);
    if (account == nullptr)
        return ADMIN_NO_USER;
    Account changed = *account;
    try {
        const AdministrationStatus status = edit(&changed);
        return status == ADMIN_DONE ? changeAccount(changed) : status;
    } catch (const std::exception &error) {
        sLogErr("security: %s", error.what());
        return ADMIN_NOT_SAVED;
    }
}

template <typename Edit>
static int change(const char *what, const char *user, bool allowed, Edit edit)
{
    const AdministrationStatus status = tryChange(user, allowed, edit);
    sLogInfo("security: %s: %d: of %s, %s", what, status, inQuotes(user).c_str(),
             byCaller().c_str());
    return status;
}

static int setUserRoles(const char *, const char *user, const char *names)
{
    return change("roles", user, callerAdministers(), [names](Account *account) {
        std::vector<std::string> &roles = account->roles;
        roles.clear();
        std::string split = names;
        char *rest = split.data();
        while (const char *role = strtok_r(rest, " ,", &rest)) {
            if (findRole(role) == nullptr)
                return ADMIN_BAD_VALUE;
            if (std::find(roles.begin(), roles.end(), role) == roles.end())
                roles.emplace_back(role);
        }
        return ADMIN_DONE;
    });
}

static int setUserPassword(const char *sessionId, const char *user, const char *password)
{
    const bool allowed = callerAdministers() || callerIs(user);
    const int status = change("password", user, allowed, [password](Account *account) {
        if (!isFitPassword(password))
            return ADMIN_BAD_VALUE;
        account->hash = hashPassword(password);
        if (callerAdministers())
            account->forgetFailures();
        return ADMIN_DONE;
    });
    if (status == ADMIN_DONE) // the session in which the user does this goes on
        endSessions(user, sessionId == nullptr ? "" : sessionId);
    return status;
}

static int setUserLock(const char *, const char *user, int lock)
{
    const char *what = lock == 0 ? "unlocking" : "locking";
    const int status = change(what, user, callerAdministers(), [lock](Account *account) {
        account->locked = lock == 1;
        account->forgetFailures();
        return lock == 0 || lock == 1 ? ADMIN_DONE : ADMIN_BAD_VALUE;
    });
    if (status == ADMIN_DONE && lock == 1)
        endSessions(user, "");
    return status;
}

void openSecurity()
{
    openAccounts();
    g_csEnabled = 1;
    pgf_parseAuth = gate;
    pgf_appUserVerify = verifyLogin;
    pgf_getSessionStatus = sessionStatus;
    pgf_closeSession = endSession;
    pgf_ws_getUsersList = getUsersList;
    pgf_ws_getRolesList = getRolesList;
    pgf_ws_getRolesListByUser = getRolesListByUser;
    pgf_ws_getLockedUsers = getLockedUsers;
    pgf_ws_setUserRoles = setUserRoles;
    pgf_ws_setUserPassword = setUserPassword;
    pgf_ws_setUserLock = setUserLock;
}
