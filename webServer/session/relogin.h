// session/relogin.h: sends a browser back to the login page.
#pragma once

struct soap;

// Sends a page that leads to the login page, with a reason code or, for null, without one. Returns 0.
extern "C" int reLogin(struct soap *soap, const char *code);
