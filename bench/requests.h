// bench/requests.h: one request of each kind, and what its reply must contain.
#pragma once

#include <string>
#include <vector>

static const char *const SESSION_ID = "figures"; // the host's id of every session

struct Exchange {
    std::string name;
    std::string request;
    std::string expected; // a part of the reply; empty if there must be no reply
    int verdict;          // what the gate answers
};

// Returns one round: a request of each kind, the single read first. At its end nobody is logged in.
// folder has an envelope for each operation, in NAME.xml.
std::vector<Exchange> makeExchanges(const std::string &folder);

// Returns requests of the greatest size that is served, and one for a file of that size. After them
// nobody is logged in.
std::vector<Exchange> makeLargest(const std::string &folder);
