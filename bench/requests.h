// bench/requests.h: one request of each kind, and what its reply must contain.
#ifndef BENCH_REQUESTS_H
#define BENCH_REQUESTS_H

#include <string>
#include <vector>

static const char *const SESSION_ID = "figures"; // what the host gives to who logs in

struct Exchange {
    std::string name;
    std::string request;
    std::string expected; // empty: no reply at all
    int verdict;          // of the gate
};

// A round of all kinds, the single read first; it ends logged out. The folder has an envelope of each
// operation.
std::vector<Exchange> makeExchanges(const std::string &folder);

#endif
