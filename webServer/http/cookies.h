// http/cookies.h: the SESSIONID cookie, which names a caller's session.
#pragma once

struct soap;

constexpr char SESSION_COOKIE[] = "SESSIONID";

// Returns the value of the request's SESSIONID cookie, or null when it has none. The text belongs to
// the request.
const char *sessionCookie(const struct soap *soap);

// Makes the reply set SESSIONID to id, of which at most 98 characters are sent. Forgets the request's
// cookies. Returns false when there is no memory for the cookie: the reply then sets none.
bool setSessionCookie(struct soap *soap, const char *id);

// Puts itself between gSOAP and its writer of header lines. With WEB_STRICT, Set-Cookie then says SameSite=Strict,
// and browsers send the cookie only with requests of the unit's own pages.
void installCookieHeader(struct soap *soap);
