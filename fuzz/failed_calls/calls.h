// fuzz/failed_calls/calls.h: calls of the service thread that can be made to fail, one by one.
#ifndef FAILED_CALLS_CALLS_H
#define FAILED_CALLS_CALLS_H

#include <atomic>
#include <cstddef>

// A kind of call that fails in the same way. To add one: a row here and in CALL_NAMES, and a function in
// calls.cpp that stands in for the C library's and asks mustFail() first.
enum Call { ALLOCATION, CALL_COUNT };
inline constexpr const char *CALL_NAMES[CALL_COUNT] = {"allocation"};

// Shared by the driver and the process with the service. The driver writes it while the service waits
// for a client.
struct Control {
    std::atomic<int> call;            // the kind that is counted
    std::atomic<unsigned long> first; // number of the first one that fails, from 1; 0: none
    std::atomic<bool> allAfter;       // those after it fail as well
    std::atomic<unsigned long> count; // calls of the kind since the driver set this to 0
    std::atomic<unsigned long> rests; // how often the service thread has begun to wait for a client
    std::atomic<std::size_t> inUse;   // bytes that the service thread has allocated and not freed
};

extern Control *control; // null: nothing is counted and nothing fails

extern thread_local bool hostIsAtWork; // set while calls are the host's: they do not fail

#endif
