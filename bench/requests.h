// bench/requests.h: one request of each kind, and what its reply must contain.
#pragma once

#include <filesystem>
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

// Returns the request that posts the envelope. headers are further lines, each with its CR LF.
std::string soap11(const std::string &envelope, const std::string &headers = "");
std::string soap12(const std::string &envelope); // given in SOAP 1.1

// Returns the request with its body as one chunk.
std::string chunked(const std::string &request);

// Does not check that the text occurs: without the change, the request would not get the expected answer.
std::string replaced(std::string text, const std::string &from, const std::string &to);

std::string contents(const std::filesystem::path &path);
