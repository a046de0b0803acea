// tests/support/client.cpp: a client's bytes to and from a service of the loopback network.
#include "support/client.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <fstream>
#include <unistd.h>

using Use = int(int, const struct sockaddr *, socklen_t);

static int use(int descriptor, Use *function, const std::string &host, int port)
{
    struct sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    inet_pton(AF_INET, host.c_str(), &address.sin_addr);
    return function(descriptor, reinterpret_cast<const struct sockaddr *>(&address),
                    sizeof address);
}

int freePort()
{
    for (int port = 20000; port < 32768; ++port) {
        const int probe = socket(AF_INET, SOCK_STREAM, 0);
        const int result = use(probe, bind, "127.0.0.1", port);
        close(probe);
        if (result == 0)
            return port;
    }
    return -1;
}

int listenOn(int port)
{
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    if (use(listener, bind, "127.0.0.1", port) == 0 && listen(listener, 1) == 0)
        return listener;
    close(listener);
    return -1;
}

int connectTo(int port, const std::string &from)
{
    const int client = socket(AF_INET, SOCK_STREAM, 0);
    if (use(client, bind, from, 0) == 0 && use(client, connect, "127.0.0.1", port) == 0)
        return client;
    close(client);
    return -1;
}

std::string received(int socket)
{
    std::string bytes;
    char chunk[16384];
    for (ssize_t got; (got = recv(socket, chunk, sizeof chunk, 0)) > 0;)
        bytes.append(chunk, static_cast<std::size_t>(got));
    return bytes;
}

void recordRequest(const std::string &bytes)
{
    const char *folder = getenv("REQUESTS");
    if (folder != nullptr && bytes.size() < 10000)
        std::ofstream(folder + ("/" + std::to_string(std::hash<std::string>()(bytes))))
            << '\0' << bytes;
}

std::string talk(int port, const std::string &bytes, const std::string &from, bool hangUp)
{
    recordRequest(bytes);
    const int client = connectTo(port, from);
    if (client < 0)
        return "(no connection)"; // not empty: some tests expect an empty reply
    // Without a signal: the service may hang up before the end. The client's end comes with the last byte.
    send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL | (hangUp ? MSG_MORE : 0));
    if (hangUp)
        shutdown(client, SHUT_WR);
    std::string reply = received(client);
    close(client);
    return reply;
}
