// session/login.h: form login and logout.
#pragma once

struct soap;

extern "C" {

// Checks the user with the host, opens a session and sends the reply. Returns the level granted, 50 or
// more; when refused, what the host answered (negative, or below 50), or -1.
int logInUser(struct soap *soap, const char *user, const char *password);

// Ends the request's session and sends the reply; sends nothing when the request has no session.
// Returns 0.
int logOutUser(struct soap *soap);
}

// Sets gblIpAddress to null. Call it at the end of a request, whose memory the text belongs to.
void forgetLogin();
