// tests/support/wire.cpp: the running service and a client's bytes to and from it.
#include "support/wire.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/fake_host.h"

static struct sockaddr_in addressOf(const std::string &host, int port)
{
    struct sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    inet_pton(AF_INET, host.c_str(), &address.sin_addr);
    return address;
}

using Use = int(int, const struct sockaddr *, socklen_t);

static int use(int descriptor, Use *function, const std::string &host, int port)
{
    const struct sockaddr_in address = addressOf(host, port);
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
    EXPECT_EQ(0, use(listener, bind, "127.0.0.1", port));
    EXPECT_EQ(0, listen(listener, 1));
    return listener;
}

int connectTo(int port, const std::string &from)
{
    const int client = socket(AF_INET, SOCK_STREAM, 0);
    if (use(client, bind, from, 0) == 0 && use(client, connect, "127.0.0.1", port) == 0)
        return client;
    close(client);
    return -1;
}

std::string talk(int port, const std::string &bytes, const std::string &from, bool hangUp)
{
    const int client = connectTo(port, from);
    if (client < 0)
        return "(no connection)"; // not empty: some tests expect an empty reply
    // Without a signal: the service may hang up before the end.
    send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (hangUp)
        shutdown(client, SHUT_WR);
    std::string reply;
    char chunk[4096];
    for (ssize_t got; (got = recv(client, chunk, sizeof chunk, 0)) > 0;)
        reply.append(chunk, static_cast<std::size_t>(got));
    close(client);
    return reply;
}

Service::Service(int port) : port_(port)
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

std::string Service::post(const std::string &envelope, const std::string &headers) const
{
    return talk(port_, "POST / HTTP/1.1\r\nHost: unit\r\nContent-Type: text/xml; charset=utf-8\r\n"
                           + headers + "Content-Length: " + std::to_string(envelope.size())
                           + "\r\n\r\n" + envelope);
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

void recordReply(const std::string &request, const std::string &reply)
{
    const char *path = getenv("REPLIES");
    if (path == nullptr)
        return;
    const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info();
    std::ofstream(path, std::ios::app)
        << "== " << test->test_suite_name() << '.' << test->name() << ": " << request << '\n'
        << reply << '\n';
}
