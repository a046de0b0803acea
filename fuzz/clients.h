// fuzz/clients.h: clients in the fuzzer's own thread, which cost no time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct soap;

struct Call {
    std::string bytes;
    int client = 2;              // 127.0.0.N
    bool hangsUp = true;         // ends its sending side after the bytes
    std::size_t piece = 1 << 20; // bytes that it sends, and takes, between two looks of the service
    std::string reply = {};
    int socket = -1;
    std::size_t sent = 0;
    bool connected = false;
};

extern struct soap *const context; // of the service

// Sends the calls at the same time, until all connections have ended. When nothing can happen, the clock
// jumps ahead. What comes back must be whole responses. With looks, another service is started for them, and
// its host closes it at that look at the sockets, or when all have ended. It may have no port, and reboot instead.
void exchange(std::vector<Call> *calls, int looks = -1);
std::string exchange(Call call);

void failAccepts(int count, int error); // the next ones

// The bytes of requests. Each header ends in CR LF. command() is a form as the pages send it.
std::string get(const std::string &target, const std::string &headers = "");
std::string post(const std::string &body, const std::string &headers = "",
                 const std::string &target = "/",
                 const std::string &type = "application/x-www-form-urlencoded");
std::string command(const std::string &name, const std::string &user = "",
                    const std::string &headers = "");

// Returns the header that names the session which the reply makes, "" if it makes none.
std::string cookieOf(const std::string &reply);

// Ends the process with a report unless the condition holds.
void must(bool condition, const char *what, const std::string &shown = "");
