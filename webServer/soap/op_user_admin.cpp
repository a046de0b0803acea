// soap/op_user_admin.cpp: forwards the administration of users, roles and locks to the host's hooks.
#include <cstdlib>

#include "base/text.h"
#include "gsoap/request_memory.h"
#include "http/cookies.h"
#include "soap/checks.h"
#include "webServer.h"

static constexpr std::size_t NAMES_SIZE = 2047 + 1;

// Deliberate: the refusals before the gate record a fault, yet an ordinary response is sent, with the
// result at its default. Clients call these before they know whether the unit administers users.
static constexpr int QUIETLY_REFUSED = SOAP_OK;

// Deliberate: changes ask for the read level as well. The hooks decide what a caller may change.
static constexpr int ADMINISTRATION_LEVEL = WS_LEVEL_READ;

// Refuses when a required element is absent; message is the operation's own.
static bool incomplete(struct soap *soap, const char *operation, const char *message,
                       std::initializer_list<const void *> fields)
{
    return anyAbsent(fields) && refuse(soap, message, operation);
}

// Refuses when the host has no user administration, or not this hook. The hook is read last: while
// g_csEnabled is 0, the host's thread may be clearing it.
template <typename Hook>
static bool notExecuted(struct soap *soap, const char *operation, const Hook &hook)
{
    return (g_csEnabled == 0 || hook == nullptr)
           && refuse(soap, "WebServer Error: Not Executed", operation);
}

// Frees what the host allocated.
static void appendNames(char *text, char **names, int count)
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

// Does what all list operations do after their presence check. user is the user's name, where the hook
// takes one.
template <typename Hook, typename... User>
static int listNames(struct soap *soap, const char *operation, const char *outOfMemory,
                     char **result, const Hook &hook, User... user)
{
    if (notExecuted(soap, operation, hook))
        return QUIETLY_REFUSED;
    if (denied(soap, operation, ADMINISTRATION_LEVEL))
        return soap->error;
    *result = requestText(soap, NAMES_SIZE);
    if (*result == nullptr)
        return soap_receiver_fault(soap, outOfMemory, operation);
    char **names = nullptr;
    const int count = hook(sessionCookie(soap), user..., &names);
    appendNames(*result, names, count);
    return SOAP_OK;
}

// Does what all changing operations do after their presence check.
template <typename Hook, typename Value> static int change(struct soap *soap, const char *operation,
                                                           int *result, const Hook &hook,
                                                           const char *user, Value value)
{
    if (notExecuted(soap, operation, hook))
        return QUIETLY_REFUSED;
    if (denied(soap, operation, ADMINISTRATION_LEVEL))
        return soap->error;
    *result = hook(sessionCookie(soap), user, value);
    return SOAP_OK;
}

int ns__getUsersList(struct soap *soap, char **result)
{
    return listNames(soap, __func__, "WebServer Error: getUsersList: soap_malloc error", result,
                     pgf_ws_getUsersList);
}

int ns__getRolesList(struct soap *soap, char **result)
{
    return listNames(soap, __func__, "WebServer Error: getRolesList: soap_malloc error", result,
                     pgf_ws_getRolesList);
}

int ns__getRolesListByUser(struct soap *soap, char *userName, char **result)
{
    if (incomplete(soap, __func__, "WebServer Error: ns__getRolesListByUser: userName is null",
                   {userName}))
        return QUIETLY_REFUSED;
    return listNames(soap, __func__, "WebServer Error: getRolesListByUser: soap_malloc error",
                     result, pgf_ws_getRolesListByUser, userName);
}

int ns__getLockedUsers(struct soap *soap, char **result)
{
    return listNames(soap, __func__, "WebServer Error: getLockedUsers: soap_malloc error", result,
                     pgf_ws_getLockedUsers);
}

int ns__setUserRoles(struct soap *soap, char *userName, char *rolesList, int *result)
{
    if (incomplete(soap, __func__, // sic: the text names another operation
                   "WebServer Error: ns__getRolesListByUser: userName or rolesList are null",
                   {userName, rolesList}))
        return QUIETLY_REFUSED;
    return change(soap, __func__, result, pgf_ws_setUserRoles, userName, rolesList);
}

int ns__setUserPassword(struct soap *soap, char *userName, char *passwd, int *result)
{
    *result = -1; // what a quiet refusal leaves; the other operations leave 0
    if (incomplete(soap, __func__,
                   "WebServer Error: ns__setUserPassword: user name or password are null",
                   {userName, passwd}))
        return QUIETLY_REFUSED;
    return change(soap, __func__, result, pgf_ws_setUserPassword, userName, passwd);
}

int ns__setUserLock(struct soap *soap, char *userName, int *lock, int *result)
{
    if (incomplete(soap, __func__,
                   "WebServer Error: ns__setUserLock: user name or lock state are null",
                   {userName, lock}))
        return QUIETLY_REFUSED;
    return change(soap, __func__, result, pgf_ws_setUserLock, userName, *lock);
}

int ns__getUserLockState(struct soap *soap, char *, int *)
{
    // sic: "ewServer". The hook for this operation is reserved and never called.
    soap_receiver_fault(soap, "ewServer Security Error: getUserLockState: Unavailable", nullptr);
    return QUIETLY_REFUSED;
}
