// gsoap/limits.h: keeps a request within its limits where the runtime would go further.
#pragma once

#include <cstdint>

struct soap;

// Hooks into the context, behind the plug-ins.
void installRequestGuard(struct soap *soap);

// A connection has been accepted: its request may use MAX_REQUEST_CPU_SECONDS while it is received.
void startRequestGuard();

// The request was so long that the memory it has taken is worth giving back.
bool requestWasLong();

static const uint64_t MAX_REQUEST_BYTES = 0x1000000; // 16 MiB
