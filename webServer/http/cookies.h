// http/cookies.h: the cookie that names a caller's session.
#pragma once

struct soap;

// The value of the request's SESSIONID cookie, null when it has none. Belongs to the request.
const char *sessionCookie(const struct soap *soap);
