// tests/support/wire.cpp: the running service and a client's bytes to and from it.
#include "support/wire.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/fake_host.h"

static struct sockaddr_in loopback(int port)
{
    struct sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

static int loopbackSocket(int port, int (*use)(int, const struct sockaddr *, socklen_t))
{
    const int result = socket(AF_INET, SOCK_STREAM, 0);
    const struct sockaddr_in address = loopback(port);
    if (use(result, reinterpret_cast<const struct sockaddr *>(&address), sizeof address) == 0)
        return result;
    close(result);
    return -1;
}

int freePort()
{
    for (int port = 20000 + getpid() % 10000; port < 32768; ++port) {
        const int probe = loopbackSocket(port, bind);
        close(probe);
        if (probe != -1)
            return port;
    }
    return -1;
}

int listenOn(int port)
{
    const int listener = loopbackSocket(port, bind);
    EXPECT_EQ(0, listen(listener, 1));
    return listener;
}

int connectTo(int port)
{
    return loopbackSocket(port, connect);
}

Service::Service() : port_(freePort())
{
    setenv("SERVER_PORT", std::to_string(port_).c_str(), 1);
    const auto gate = pgf_parseAuth; // the start replaces it when security is off
    EXPECT_EQ(0, webServer_Web_Start());
    EXPECT_TRUE(waitFor([] { return __atomic_load_n(&g_wsRunningSocket, __ATOMIC_ACQUIRE) == 1; }));
    __atomic_store_n(&pgf_parseAuth, gate, __ATOMIC_RELEASE);
}

Service::~Service()
{
    EXPECT_EQ(0, ws_soap_close());
}

std::string Service::exchange(const std::string &bytes) const
{
    const int client = connectTo(port_);
    send(client, bytes.data(), bytes.size(),
         MSG_NOSIGNAL); // the service may hang up before the end
    std::string reply;
    char chunk[4096];
    for (ssize_t got; (got = recv(client, chunk, sizeof chunk, 0)) > 0;)
        reply.append(chunk, static_cast<std::size_t>(got));
    close(client);
    return reply;
}

std::string Service::post(const std::string &envelope, const std::string &headers) const
{
    return exchange("POST / HTTP/1.1\r\nHost: unit\r\nContent-Type: text/xml; charset=utf-8\r\n"
                    + headers + "Content-Length: " + std::to_string(envelope.size()) + "\r\n\r\n"
                    + envelope);
}

std::string envelope(const std::string &operation, const std::string &children, bool soap12,
                     const std::string &header)
{
    const std::string space = soap12 ? "http://www.w3.org/2003/05/soap-envelope"
                                     : "http://schemas.xmlsoap.org/soap/envelope/";
    return "<E:Envelope xmlns:E='" + space + "' xmlns:n='urn:soapServ'"
           + " xmlns:i='http://www.w3.org/2001/XMLSchema-instance'>"
           + (header.empty() ? "" : "<E:Header>" + header + "</E:Header>") + "<E:Body><n:"
           + operation + ">" + children + "</n:" + operation + "></E:Body></E:Envelope>";
}
