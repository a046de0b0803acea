// sim/security/request.h: what a request says about its caller.
#ifndef SIM_SECURITY_REQUEST_H
#define SIM_SECURITY_REQUEST_H

struct soap;

// "user:password" of the SOAP header, or what else is there; null: none.
const char *requestHeader(const struct soap *request);

// The id of the session that a browser's cookie names; null: none. A cookie counts only with pages of
// the unit itself, and from the address that logged in.
const char *requestSession(const struct soap *request);

#endif
