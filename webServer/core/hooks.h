// core/hooks.h: the default security hooks.
#pragma once

struct soap;

// Installs the library's own security when g_csEnabled is 0; otherwise leaves the host's hooks alone.
void installDefaultHooks();

// The default gate. Returns WS_ALLOWED for every request.
extern "C" int parseAuth(struct soap *soap, int level);
