/* sessions.c: the table of sessions. */
#define _GNU_SOURCE
#include "sessions.h"

#include <stdio.h>
#include <string.h>

#include "random_text.h"
#include "users.h"
#include "webServer.h"

enum { KEPT_SESSIONS = 8 };

struct Session {
    char id[ID_SIZE]; /* empty: the slot is free */
    char user[NAME_SIZE];
    long lastUse; /* in seconds() */
};

static struct Session sessions[KEPT_SESSIONS];

int openSession(const char *user, char id[ID_SIZE])
{
    struct Session *slot = &sessions[0];
    if (randomText(id, ID_SIZE) != 0)
        return -1;
    for (int i = 1; i < KEPT_SESSIONS; ++i)
        if (sessions[i].lastUse < slot->lastUse) /* 0 in a free slot */
            slot = &sessions[i];
    snprintf(slot->id, sizeof slot->id, "%s", id);
    snprintf(slot->user, sizeof slot->user, "%s", user);
    slot->lastUse = seconds();
    return 0;
}

static struct Session *findSession(const char *id)
{
    for (int i = 0; i < KEPT_SESSIONS; ++i)
        if (id != NULL && *id != '\0' && strcmp(sessions[i].id, id) == 0)
            return &sessions[i];
    return NULL;
}

const char *sessionUser(const char *id)
{
    struct Session *session = findSession(id);
    if (session == NULL)
        return NULL;
    if (seconds() - session->lastUse > sessTimeOut) {
        closeSession(id);
        return NULL;
    }
    session->lastUse = seconds();
    return session->user;
}

void closeSession(const char *id)
{
    struct Session *session = findSession(id);
    if (session != NULL)
        memset(session, 0, sizeof *session);
}

void endSessions(const char *user, const char *exceptId)
{
    for (int i = 0; i < KEPT_SESSIONS; ++i)
        if (strcmp(sessions[i].user, user) == 0
            && (exceptId == NULL || strcmp(sessions[i].id, exceptId) != 0))
            memset(&sessions[i], 0, sizeof sessions[i]);
}
