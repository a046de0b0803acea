/* gate.c: finds the caller in a request, as "The gate" in webServer.h describes it. Compiled with gSOAP's
 * macros, as C: struct soap has the same layout in C and in C++. */
#define _GNU_SOURCE /* stdsoap2.h needs it; in C++ it is always on */
#include "gate.h"

#include <arpa/inet.h>
#include <stdio.h>
#include <stdsoap2.h>
#include <string.h>

#include "sessions.h"
#include "webServer.h"
#include "webServerHost.h"

struct SOAP_ENV__Header {
    char *Authentication;
};

enum { NOT_ALLOWED = 1 };    /* known, but not allowed */
enum { ADDRESS_BYTES = 14 }; /* the library keeps so many with a session */

static char callerName[NAME_SIZE]; /* of the last question to the gate; empty: not authenticated */

const struct User *caller(void)
{
    return findUser(callerName);
}

/* Compares names only and takes the first cookie, as the library does. */
static const char *sessionCookie(const struct soap *request)
{
    for (const struct soap_cookie *cookie = request->cookies; cookie != NULL; cookie = cookie->next)
        if (cookie->name != NULL && strcmp(cookie->name, "SESSIONID") == 0)
            return cookie->value;
    return NULL;
}

/* Returns 1 if the request comes from the address that logged in. */
static int comesFromItsAddress(const struct soap *request, const char *id)
{
    const struct in_addr number = {htonl(request->ip)};
    char address[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &number, address, sizeof address);
    for (int i = 0; i < MAX_SESSIONS; ++i)
        if (g_accesstok[i].id != NULL && strcmp(g_accesstok[i].id, id) == 0)
            return g_accesstok[i].ip != NULL
                   && strncmp(g_accesstok[i].ip, address, ADDRESS_BYTES) == 0;
    return 0;
}

/* Returns 1 unless a page of another site sends the request: browsers add the unit's cookie to such a
 * request as well. Programs send no origin. The scheme is not compared, because a gateway may change it. */
static int comesFromOwnPage(const struct soap *request)
{
    const char *page;
    const char *unit;
    if (request->origin == NULL)
        return 1;
    page = strstr(request->origin, "://");
    unit = strstr(request->endpoint, "://"); /* as the client addressed it, with a path */
    return page != NULL && unit != NULL && strncmp(page, unit, strlen(page)) == 0
           && unit[strlen(page)] == '/';
}

static const struct User *userOfSession(const char *id)
{
    const char *name = sessionUser(id);
    return name == NULL ? NULL : findUser(name);
}

static const struct User *userOfCookie(const struct soap *request)
{
    const char *id = sessionCookie(request);
    if (id == NULL || !comesFromItsAddress(request, id) || !comesFromOwnPage(request))
        return NULL;
    return userOfSession(id);
}

/* The header is "user:password" as plain text: nothing that is sent to the unit is encrypted. */
static const struct User *userOfHeader(const char *text)
{
    char name[NAME_SIZE];
    const char *colon = strchr(text, ':');
    if (colon == NULL || colon - text >= NAME_SIZE)
        return NULL;
    memcpy(name, text, (size_t)(colon - text));
    name[colon - text] = '\0';
    return checkPassword(name, colon + 1);
}

/* With a wrong password in the header the cookie does not count. Otherwise the sender would act as the
 * user of the cookie without noticing it. */
static const struct User *findCaller(const struct soap *request)
{
    if (request->header == NULL || request->header->Authentication == NULL)
        return userOfCookie(request);
    return userOfHeader(request->header->Authentication);
}

static int verdict(const struct User *user, int level)
{
    if (user == NULL)
        return WS_NOT_AUTHENTICATED;
    return userLevel(user) >= level ? WS_ALLOWED : NOT_ALLOWED;
}

int gate(struct soap *request, int level)
{
    const struct User *user = findCaller(request);
    snprintf(callerName, sizeof callerName, "%s", user == NULL ? "" : user->name);
    if (user != NULL)
        g_highLevel = userLevel(user); /* getUserAuth returns it */
    return verdict(user, level);
}

int sessionStatus(const char *id)
{
    return verdict(userOfSession(id), WS_LEVEL_READ) == WS_ALLOWED ? 0 : -1;
}
