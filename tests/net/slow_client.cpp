// tests/net/slow_client.cpp: a client that sends and takes its bytes when the test says so.
#include "net/slow_client.h"

#include <gmock/gmock.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

const std::string FORM = "Content-Type: application/x-www-form-urlencoded\r\n";
const std::string READ = envelope(
    "coreDbReadData", "<inputType>analog</inputType><inputName>A</inputName><inputFormat/>");

SlowClient::SlowClient(int port, const std::string &bytes, const std::string &from)
    : socket_(connectTo(port, from))
{
    const struct timeval patience = {10, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    send(bytes);
}

SlowClient::~SlowClient()
{
    if (socket_ != -1)
        close(socket_);
}

void SlowClient::send(const std::string &bytes) const
{
    ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

bool SlowClient::isOpen() const
{
    char byte;
    return recv(socket_, &byte, 1, MSG_DONTWAIT | MSG_PEEK) < 0
           && (errno == EAGAIN || errno == EWOULDBLOCK);
}

std::string SlowClient::rest() const
{
    errno = 0;
    const std::string reply = received(socket_);
    return errno == EAGAIN ? "(nothing)" : reply;
}

std::vector<SlowClient> slowClients(std::size_t count, int port, const std::string &bytes)
{
    std::vector<SlowClient> clients;
    while (clients.size() < count)
        clients.emplace_back(port, bytes);
    return clients;
}

void expectServes(int port)
{
    EXPECT_THAT(talk(port, httpPost("", envelope("getRTU"))), testing::HasSubstr("512Q"));
}
