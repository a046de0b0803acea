// core/hooks.cpp: the hook pointers that the host fills, and the defaults that the start installs.
#include "core/hooks.h"

#include "base/thread_shared.h"
#include "webServer.h"
#include "webServerHost.h"

int (*pgf_parseAuth)(struct soap *, int) = nullptr;
int (*pgf_appUserVerify)(const char *, const char *, char *) = nullptr;
int (*pgf_getSessionStatus)(const char *) = nullptr;
int (*pgf_closeSession)(const char *, struct soap *) = nullptr;
int (*pgf_getAuthorization)(const char *, int, int) = nullptr;
int (*pgf_ws_getUsersList)(const char *, char ***) = nullptr;
int (*pgf_ws_getRolesList)(const char *, char ***) = nullptr;
int (*pgf_ws_getRolesListByUser)(const char *, const char *, char ***) = nullptr;
int (*pgf_ws_getLockedUsers)(const char *, char ***) = nullptr;
int (*pgf_ws_setUserRoles)(const char *, const char *, const char *) = nullptr;
int (*pgf_ws_setUserPassword)(const char *, const char *, const char *) = nullptr;
int (*pgf_ws_setUserLock)(const char *, const char *, int) = nullptr;
int (*pgf_ws_getUserLockState)(const char *, const char *) = nullptr;

int parseAuth(struct soap *, int)
{
    return WS_ALLOWED;
}

void installDefaultHooks()
{
    if (g_csEnabled != 0)
        return;
    pgf_closeSession = nullptr;
    pgf_getSessionStatus = nullptr;
    pgf_getAuthorization = nullptr;
    pgf_ws_getUsersList = nullptr;
    pgf_ws_getRolesList = nullptr;
    pgf_ws_getRolesListByUser = nullptr;
    pgf_ws_setUserRoles = nullptr;
    pgf_ws_setUserPassword = nullptr;
    pgf_ws_getUserLockState = nullptr;
    pgf_ws_setUserLock = nullptr;
    // Deliberate: pgf_ws_getLockedUsers stays as the host set it; hosts read it back.

    // The service thread is already running and may be reading these two. It does not read the others
    // while g_csEnabled is 0.
    writeShared(pgf_parseAuth, parseAuth);
    writeShared(pgf_appUserVerify, appUserVerify);
}
