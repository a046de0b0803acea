// net/limits.h: what one request, and all connections together, may hold of the unit.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/units.h"
#include "webServer.h"

// Of a body. In 64 bits, since announced lengths are compared with it.
inline uint64_t maxRequestBytes()
{
    return g_webStrict == 0 ? 16 * MIB : MIB;
}

// With its header and the lines between its chunks; a request that is longer is refused.
inline std::size_t maxReceivedBytes()
{
    const auto body = static_cast<std::size_t>(maxRequestBytes());
    return body + body / 8;
}

// A request beyond this size needs the one place for large requests.
constexpr std::size_t LARGE_REQUEST_BYTES = 256 * KIB;
// At least so fast, while another one waits for the place.
constexpr std::size_t LARGE_REQUEST_BYTES_PER_SECOND = 8 * KIB;
constexpr int LARGE_REQUEST_TRIAL_MS = 5 * 1000;   // before its speed counts
constexpr std::size_t MAX_WAITING_BYTES = 3 * MIB; // of all other arriving requests
constexpr std::size_t MAX_PARKED_BYTES = 4 * MIB;  // of all replies that are leaving
constexpr int MAX_FILES_LEAVING = 64; // open in those replies; further files are sent as bytes

// More than the 200 of a usual attack tool, and few enough for the descriptors of a small process.
constexpr int MAX_CONNECTIONS = 256;

constexpr int STALL_MS = 60 * 1000;        // without a byte from, or taken by, the client
constexpr int MAX_ARRIVAL_MS = 300 * 1000; // of one request in all
constexpr int UNCLOSED_MS = 1000;     // for the rest of an envelope whose announced bytes are here
constexpr int LAST_REPLIES_MS = 2000; // for replies that are leaving when the service closes

// The kernel's memory for a connection, each way. Set on the listening socket, which its connections
// inherit, so that the kernel does not enlarge them.
constexpr int SOCKET_BUFFER_BYTES = 64 * 1024;
