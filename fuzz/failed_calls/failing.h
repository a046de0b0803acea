// fuzz/failed_calls/failing.h: calls of the service that fail when the driver wants it.
#pragma once

#include <atomic>
#include <cstddef>

enum { MEMORY = 0, CALL_COUNT = 24 }; // MEMORY: malloc, calloc, realloc
extern const char *const CALL_NAMES[CALL_COUNT];

// Shared by the driver and the process with the service. The driver writes it while the service waits
// for a client, and sets first to 0 when a shortage is to end.
struct Control {
    std::atomic<int> call;            // the one that fails
    std::atomic<unsigned long> first; // number of the first of them that fails, from 1; 0: none
    std::atomic<bool> allAfter;       // those after it fail as well
    std::atomic<unsigned long> counts[CALL_COUNT]; // since the driver set them to 0
    std::atomic<unsigned long> failed[CALL_COUNT]; // in all
    std::atomic<unsigned long> rests; // how often the service thread has begun to wait for a client
    std::atomic<bool> resting;        // it waits so now
    std::atomic<std::size_t> inUse;   // bytes that the service has allocated and not freed
    std::atomic<bool> close;          // the unit is to end
};

extern Control *control;          // null: nothing is counted and nothing fails
extern thread_local bool serving; // calls of this thread count
