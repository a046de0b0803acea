/* hooks.h: the host's own security, as hooks of the library. */
#ifndef HOOKS_H
#define HOOKS_H

/* What the operations that change users answer. */
enum {
    DONE = 0,
    NOT_YOU = 1, /* the caller may not do this */
    NO_USER = 2,
    BAD_VALUE = 3,   /* unknown role, refused password, a lock that is neither 0 nor 1 */
    NOBODY_LEFT = 4, /* no administrator could log in any more */
    NOT_SAVED = 5    /* nothing has changed */
};

/* Fills the hooks of webServer.h. Call it before the service starts. */
void installSecurity(void);

#endif
