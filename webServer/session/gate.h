// session/gate.h: asks the host whether the caller of a request may act.
#pragma once

struct soap;

// The gate's answer (webServer.h); WS_NOT_AUTHENTICATED while no gate is installed.
int askGate(struct soap *soap, int level);
