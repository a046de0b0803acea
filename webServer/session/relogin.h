// session/relogin.h: sends a refused browser back to the login page.
#pragma once

struct soap;

// Writes a page that leads to the login page, with a reason code or (null) without. Always 0.
extern "C" int reLogin(struct soap *soap, const char *code);

// Does so with a reason code, and returns the refusal's own result.
int refuseLogin(struct soap *soap, const char *code, int result);
