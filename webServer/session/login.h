// session/login.h: form login and logout; both send their own reply.
#pragma once

struct soap;

extern "C" {

// Checks the user with the host and opens a session. Returns the level granted (50 or more), or what
// the host answered (negative, or below 50), or -1.
int logInUser(struct soap *soap, const char *user, const char *password);

// Ends the request's session. Sends nothing when it has none. Always 0.
int logOutUser(struct soap *soap);
}
