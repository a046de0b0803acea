// tests/support/client.cpp: a client's bytes to and from a service of the loopback network.
#include "support/client.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <netinet/tcp.h>
#include <unistd.h>
#include <utility>

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
    static int port = 20000; // below those that the kernel gives to clients
    return port++;
}

Client::Client(int port, const std::string &bytes, const std::string &from)
    : socket_(::socket(AF_INET, SOCK_STREAM, 0))
{
    const struct timeval patience = {60, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (use(socket_, bind, from, 0) != 0 || use(socket_, connect, "127.0.0.1", port) != 0)
        close(std::exchange(socket_, -1));
    send(bytes);
}

Client::~Client()
{
    if (socket_ != -1)
        close(socket_);
}

void Client::send(const std::string &bytes, int flags) const
{
    // Without a signal: the service may hang up before the end.
    ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | flags);
}

bool Client::isOpen() const
{
    char byte;
    return recv(socket_, &byte, 1, MSG_DONTWAIT | MSG_PEEK) < 0
           && (errno == EAGAIN || errno == EWOULDBLOCK);
}

std::string Client::rest() const
{
    std::string bytes;
    char chunk[16384];
    ssize_t got;
    while ((got = recv(socket_, chunk, sizeof chunk, 0)) > 0)
        bytes.append(chunk, static_cast<std::size_t>(got));
    // Not empty: some tests expect an empty reply.
    return got < 0 && (errno == EAGAIN || errno == EBADF) ? "(nothing)" : bytes;
}

std::vector<Client> manyClients(std::size_t count, int port, const std::string &bytes)
{
    std::vector<Client> clients;
    while (clients.size() < count)
        clients.emplace_back(port, bytes);
    return clients;
}

std::string talk(int port, const std::string &bytes, const std::string &from, bool hangUp)
{
    recordRequest(bytes);
    const Client client(port, "", from);
    client.send(bytes, hangUp ? MSG_MORE : 0); // its end comes with the last byte
    if (hangUp)
        shutdown(client.socket(), SHUT_WR);
    return client.rest();
}

void recordRequest(const std::string &bytes)
{
    const char *folder = getenv("REQUESTS");
    if (folder != nullptr && bytes.size() < 10000)
        std::ofstream(folder + ("/" + std::to_string(std::hash<std::string>()(bytes))))
            << '\0' << bytes;
}
