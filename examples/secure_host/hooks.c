/* hooks.c: login, sessions and user administration. */
#define _GNU_SOURCE
#include "hooks.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "gate.h"
#include "sessions.h"
#include "webServer.h"
#include "webServerHost.h"

enum { REFUSED = -1 }; /* in place of a level */
enum { MIN_PASSWORD_BYTES = 8, MAX_PASSWORD_BYTES = 127 };

/* ---- Login and sessions ---------------------------------------------------------------------- */

/* The library refuses a login that has no session id. */
static int verifyLogin(const char *name, const char *password, char *sessionId)
{
    const struct User *user = checkPassword(name, password);
    if (user == NULL)
        return REFUSED;
    if (userLevel(user) >= WS_LEVEL_READ && openSession(user->name, sessionId) != 0)
        sLogErr("security: no random numbers for a session");
    return userLevel(user);
}

static int endSession(const char *sessionId, struct soap *request)
{
    (void)request;
    closeSession(sessionId);
    return 0;
}

/* ---- Lists: an administrator gets them, other callers an empty one --------------------------- */

static int callerAdministers(void)
{
    return caller() != NULL && (caller()->roles & ADMIN) != 0;
}

static int callerIs(const char *name)
{
    return caller() != NULL && strcmp(caller()->name, name) == 0;
}

/* The library frees the array and its texts. An entry for which there was no memory may be null. */
static int newList(char ***names, int allowed)
{
    *names = calloc(MAX_USERS, sizeof **names);
    return *names != NULL && allowed;
}

static int getUsersList(const char *sessionId, char ***names)
{
    int count = 0;
    (void)sessionId;
    if (newList(names, callerAdministers()))
        while (count < userCount) {
            (*names)[count] = strdup(users[count].name);
            ++count;
        }
    return count;
}

static int getLockedUsers(const char *sessionId, char ***names)
{
    int count = 0;
    (void)sessionId;
    if (newList(names, callerAdministers()))
        for (int i = 0; i < userCount; ++i)
            if (isLocked(&users[i]))
                (*names)[count++] = strdup(users[i].name);
    return count;
}

static int rolesOf(unsigned int bits, int allowed, char ***names)
{
    int count = 0;
    if (newList(names, allowed))
        for (int i = 0; i < ROLES; ++i)
            if ((bits & roles[i].bit) != 0)
                (*names)[count++] = strdup(roles[i].name);
    return count;
}

static int getRolesList(const char *sessionId, char ***names)
{
    (void)sessionId;
    return rolesOf(~0U, callerAdministers(), names);
}

static int getRolesListByUser(const char *sessionId, const char *name, char ***names)
{
    const struct User *user = findUser(name);
    (void)sessionId;
    return rolesOf(user == NULL ? 0 : user->roles, callerAdministers() || callerIs(name), names);
}

/* ---- Changes --------------------------------------------------------------------------------- */

static int somebodyAdministers(void)
{
    for (int i = 0; i < userCount; ++i)
        if ((users[i].roles & ADMIN) != 0 && !users[i].locked)
            return 1;
    return 0;
}

/* Puts the changed user into the table and the file, or leaves both as they are. */
static int store(struct User *user, const struct User *changed)
{
    const struct User old = *user;
    int status = DONE;
    *user = *changed;
    if (!somebodyAdministers())
        status = NOBODY_LEFT;
    else if (saveUsers() != 0)
        status = NOT_SAVED;
    if (status != DONE)
        *user = old;
    sLogInfo("security: change of %s by %s: %d", old.name, caller()->name, status);
    return status;
}

/* Returns the status that refuses the change, or DONE and a copy of the user to change. */
static int mayChange(const char *name, int allowed, struct User *copy)
{
    const struct User *user = findUser(name);
    if (!allowed)
        return NOT_YOU;
    if (user == NULL)
        return NO_USER;
    *copy = *user;
    return DONE;
}

/* Returns 1 and adds the role to the bits if there is a role of this name. */
static int addRole(unsigned int *bits, const char *name)
{
    for (int i = 0; i < ROLES; ++i)
        if (strcmp(roles[i].name, name) == 0) {
            *bits |= roles[i].bit;
            return 1;
        }
    return 0;
}

static int setUserRoles(const char *sessionId, const char *name, const char *names)
{
    struct User changed;
    const int status = mayChange(name, callerAdministers(), &changed);
    char text[64];
    char *rest = text;
    (void)sessionId;
    if (status != DONE)
        return status;
    if (snprintf(text, sizeof text, "%s", names) >= (int)sizeof text)
        return BAD_VALUE;
    changed.roles = 0;
    for (const char *role; (role = strtok_r(rest, " ,", &rest)) != NULL;)
        if (!addRole(&changed.roles, role))
            return BAD_VALUE;
    return store(findUser(name), &changed);
}

static int setUserPassword(const char *sessionId, const char *name, const char *password)
{
    struct User changed;
    const size_t length = strlen(password);
    int status = mayChange(name, callerAdministers() || callerIs(name), &changed);
    if (status != DONE)
        return status;
    if (length < MIN_PASSWORD_BYTES || length > MAX_PASSWORD_BYTES
        || hashPassword(password, changed.hash) != 0)
        return BAD_VALUE;
    status = store(findUser(name), &changed);
    if (status == DONE)
        endSessions(name, sessionId); /* the session in which the user does this goes on */
    return status;
}

static int setUserLock(const char *sessionId, const char *name, int lock)
{
    struct User changed;
    int status = mayChange(name, callerAdministers(), &changed);
    (void)sessionId;
    if (status != DONE)
        return status;
    if (lock != 0 && lock != 1)
        return BAD_VALUE;
    changed.locked = lock;
    changed.failures = 0;
    changed.lockedUntil = 0;
    status = store(findUser(name), &changed);
    if (status == DONE && lock == 1)
        endSessions(name, NULL);
    return status;
}

void installSecurity(void)
{
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
