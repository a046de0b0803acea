// session/gate.h: asks the host whether the caller of a request may act.
#pragma once

struct soap;

// Returns the answer of the host's gate for this level, WS_LEVEL_...; WS_NOT_AUTHENTICATED while no
// gate is installed.
int askGate(struct soap *soap, int level);
