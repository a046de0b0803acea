// bench/speed.cpp: measures the processor time that servers need per request, side by side.
//
//   speed ROUNDS REQUEST_FOLDER NAME:PID:PORT...      the first server is compared with the others
//
// scripts/speed starts the servers and runs it. Exit status: 0, or 2 if a server gave a wrong answer.
#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "requests.h"

static const int REQUESTS = 300;      // of a kind, in one round
static const int LARGE_REQUESTS = 60; // of a kind whose replies have LARGE_BYTES or more
static const std::size_t LARGE_BYTES = 1000000;
static const int CLIENT_TIMEOUT_SECONDS = 10;

struct Server {
    std::string name;
    pid_t process;
    sockaddr_in address;
    bool filesOnly; // it knows neither SOAP nor the login
};

struct Case {
    std::string name, request, expected;
    std::size_t least; // bytes of the reply
};

static Server parseServer(const std::string &text)
{
    char name[32];
    int process = 0, port = 0;
    if (sscanf(text.c_str(), "%31[^:]:%d:%d", name, &process, &port) != 3)
        exit(2);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return {name, process, address, strcmp(name, "ours") != 0 && strcmp(name, "bare") != 0};
}

static std::vector<Case> makeCases(const std::string &folder)
{
    static const char *const CASES[][2] = {
        {"coreDbReadData", "SOAP read, 1 point"    },
        {"1000 points",    "SOAP read, 1000 points"},
        {"login, JSON",    "login"                 },
    };
    std::vector<Case> cases;
    const std::vector<Exchange> exchanges = makeExchanges(folder);
    for (const auto &[name, title] : CASES)
        for (const Exchange &exchange : exchanges)
            if (exchange.name == name)
                cases.push_back({title, exchange.request, exchange.expected, 0});
    for (const int size : {1, 10, 100, 1000})
        cases.push_back({"file, " + std::to_string(size) + " KB",
                         "GET /" + std::to_string(size) + ".json HTTP/1.1\r\nHost: unit\r\n"
                             + "Connection: close\r\n\r\n",
                         " 200 ", static_cast<std::size_t>(size) * 1000});
    return cases;
}

static bool isAnswered(const Server &server, const Case &kind)
{
    static char bytes[256 * 1024]; // of the reply's beginning, which has what is expected
    char rest[64 * 1024];
    const int client = socket(AF_INET, SOCK_STREAM, 0);
    const timeval patience = {CLIENT_TIMEOUT_SECONDS, 0};
    setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    std::size_t length = 0;
    ssize_t part = -1;
    if (connect(client, reinterpret_cast<const sockaddr *>(&server.address), sizeof server.address)
            == 0
        && send(client, kind.request.data(), kind.request.size(), MSG_NOSIGNAL)
               == static_cast<ssize_t>(kind.request.size()))
        do {
            const bool kept = length < sizeof bytes;
            part = recv(client, kept ? bytes + length : rest,
                        kept ? sizeof bytes - length : sizeof rest, 0);
            length += static_cast<std::size_t>(std::max<ssize_t>(part, 0));
        } while (part > 0);
    close(client);
    const std::string reply(bytes, std::min(length, sizeof bytes));
    return part == 0 && length > kind.least && reply.find(kind.expected) != std::string::npos;
}

static double cpuMicroseconds(pid_t process)
{
    clockid_t clock;
    struct timespec used = {};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &used) != 0)
        exit(2);
    return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

static double measure(const Server &server, const Case &kind)
{
    const int count = kind.least < LARGE_BYTES ? REQUESTS : LARGE_REQUESTS;
    const double before = cpuMicroseconds(server.process);
    for (int i = 0; i < count; ++i)
        if (!isAnswered(server, kind)) {
            fprintf(stderr, "speed: %s: wrong answer: %s\n", server.name.c_str(),
                    kind.name.c_str());
            exit(2);
        }
    return (cpuMicroseconds(server.process) - before) / count;
}

static void printRange(const char *title, std::vector<double> values, int decimals)
{
    std::sort(values.begin(), values.end());
    printf("  %-14s %9.*f %9.*f %9.*f\n", title, decimals, values.front(), decimals,
           values[values.size() / 2], decimals, values.back());
}

int main(int argc, char **argv)
{
    if (argc < 4 || atoi(argv[1]) < 1)
        return 2;
    std::vector<Server> servers;
    for (int i = 3; i < argc; ++i)
        servers.push_back(parseServer(argv[i]));
    const auto rounds = static_cast<std::size_t>(atoi(argv[1]));
    for (const Case &kind : makeCases(argv[2])) {
        std::vector<std::vector<double>> times(servers.size());
        for (std::size_t turn = 0; turn < rounds * servers.size(); ++turn) {
            // Each server is first, second and so on in turn.
            const std::size_t which = (turn + turn / servers.size()) % servers.size();
            if (!servers[which].filesOnly || kind.least > 0)
                times[which].push_back(measure(servers[which], kind));
        }
        printf("%-16s %9s %9s %9s\n", kind.name.c_str(), "min", "median", "max");
        for (std::size_t i = 0; i < servers.size(); ++i)
            if (!times[i].empty())
                printRange((servers[i].name + ", us").c_str(), times[i], 1);
        for (std::size_t i = 1; i < servers.size(); ++i) {
            std::vector<double> ratios;
            for (std::size_t round = 0; round < times[i].size(); ++round)
                ratios.push_back(times[0][round] / times[i][round]);
            if (!ratios.empty())
                printRange((servers[0].name + "/" + servers[i].name).c_str(), ratios, 2);
        }
        fflush(stdout);
    }
    return 0;
}
