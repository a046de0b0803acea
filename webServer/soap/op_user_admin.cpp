// soap/op_user_admin.cpp: forwards the administration of users, roles and locks to the host's hooks.
#include <cstdlib>

#include "base/text.h"
#include "http/cookies.h"
#include "soap/checks.h"
#include "webServer.h"

static const std::size_t NAMES_SIZE = 2048;

// Deliberate: the refusals up to the gate record a fault, yet an ordinary response is sent, with the
// result at its default. Clients ask before they know whether the unit has user administration.
static const int QUIETLY_REFUSED = SOAP_OK;

// Deliberate: changes ask for the read level, too. What a caller may change, the hooks decide.
static const int ADMINISTRATION_LEVEL = WS_LEVEL_READ;

// A required element is absent; message is the operation's own.
static bool incomplete(struct soap *soap, const char *operation, const char *message,
                       std::initializer_list<const void *> fields)
{
    return anyAbsent(fields) && refuse(soap, message, operation);
}

// The host has no user administration, or none of this kind. The hook is looked at last: with the
// host's security off, start-up may just be clearing it.
template <typename Hook>
static bool notExecuted(struct soap *soap, const char *operation, const Hook &hook)
{
    return (g_csEnabled == 0 || hook == nullptr)
           && refuse(soap, "WebServer Error: Not Executed", operation);
}

static void appendNames(char *text, char **names, int count) // frees what the host allocated
{
    TextWriter writer(text, NAMES_SIZE);
    for (int i = 0; names != nullptr && i < count; ++i)
        if (names[i] != nullptr) {
            writer.append(names[i]);
            writer.append(" ");
            free(names[i]);
        }
    free(names);
}

// Lists what ask(cookie, &names) fetches from the host.
template <typename Ask> static int listNames(struct soap *soap, const char *operation,
                                             const char *outOfMemory, char **result, Ask ask)
{
    const char *cookie = sessionCookie(soap);
    *result = static_cast<char *>(soap_malloc(soap, NAMES_SIZE));
    if (*result == nullptr)
        return soap_receiver_fault(soap, outOfMemory, operation);
    char **names = nullptr;
    const int count = ask(cookie, &names);
    appendNames(*result, names, count);
    return SOAP_OK;
}

int ns__getUsersList(struct soap *soap, char **result)
{
    if (notExecuted(soap, __func__, pgf_ws_getUsersList))
        return QUIETLY_REFUSED;
    if (denied(soap, __func__, ADMINISTRATION_LEVEL))
        return soap->error;
    return listNames(soap, __func__, "WebServer Error: getUsersList: soap_malloc error", result,
                     pgf_ws_getUsersList);
}

int ns__getRolesList(struct soap *soap, char **result)
{
    if (notExecuted(soap, __func__, pgf_ws_getRolesList))
        return QUIETLY_REFUSED;
    if (denied(soap, __func__, ADMINISTRATION_LEVEL))
        return soap->error;
    return listNames(soap, __func__, "WebServer Error: getRolesList: soap_malloc error", result,
                     pgf_ws_getRolesList);
}

int ns__getRolesListByUser(struct soap *soap, char *userName, char **result)
{
    if (incomplete(soap, __func__, "WebServer Error: ns__getRolesListByUser: userName is null",
                   {userName})
        || notExecuted(soap, __func__, pgf_ws_getRolesListByUser))
        return QUIETLY_REFUSED;
    if (denied(soap, __func__, ADMINISTRATION_LEVEL))
        return soap->error;
    return listNames(soap, __func__, "WebServer Error: getRolesListByUser: soap_malloc error",
                     result, [userName](const char *cookie, char ***names) {
                         return pgf_ws_getRolesListByUser(cookie, userName, names);
                     });
}

int ns__getLockedUsers(struct soap *soap, char **result)
{
    if (notExecuted(soap, __func__, pgf_ws_getLockedUsers))
        return QUIETLY_REFUSED;
    if (denied(soap, __func__, ADMINISTRATION_LEVEL))
        return soap->error;
    return listNames(soap, __func__, "WebServer Error: getLockedUsers: soap_malloc error", result,
                     pgf_ws_getLockedUsers);
}

int ns__setUserRoles(struct soap *soap, char *userName, char *rolesList, int *result)
{
    if (incomplete(soap, __func__, // sic: the text names the other operation
                   "WebServer Error: ns__getRolesListByUser: userName or rolesList are null",
                   {userName, rolesList})
        || notExecuted(soap, __func__, pgf_ws_setUserRoles))
        return QUIETLY_REFUSED;
    if (denied(soap, __func__, ADMINISTRATION_LEVEL))
        return soap->error;
    *result = pgf_ws_setUserRoles(sessionCookie(soap), userName, rolesList);
    return SOAP_OK;
}

int ns__setUserPassword(struct soap *soap, char *userName, char *passwd, int *result)
{
    *result = -1; // what a quiet refusal leaves here, and here only
    if (incomplete(soap, __func__,
                   "WebServer Error: ns__setUserPassword: user name or password are null",
                   {userName, passwd})
        || notExecuted(soap, __func__, pgf_ws_setUserPassword))
        return QUIETLY_REFUSED;
    if (denied(soap, __func__, ADMINISTRATION_LEVEL))
        return soap->error;
    *result = pgf_ws_setUserPassword(sessionCookie(soap), userName, passwd);
    return SOAP_OK;
}

int ns__setUserLock(struct soap *soap, char *userName, int *lock, int *result)
{
    if (incomplete(soap, __func__,
                   "WebServer Error: ns__setUserLock: user name or lock state are null",
                   {userName, lock})
        || notExecuted(soap, __func__, pgf_ws_setUserLock))
        return QUIETLY_REFUSED;
    if (denied(soap, __func__, ADMINISTRATION_LEVEL))
        return soap->error;
    *result = pgf_ws_setUserLock(sessionCookie(soap), userName, *lock);
    return SOAP_OK;
}

int ns__getUserLockState(struct soap *soap, char *, int *)
{
    // sic: "ewServer". The hook for it is reserved and never called.
    soap_receiver_fault(soap, "ewServer Security Error: getUserLockState: Unavailable", nullptr);
    return QUIETLY_REFUSED;
}
