// tests/net/bounds_test.cpp: what happens at each bound of all connections together. The clock is the test's.
#include <fstream>
#include <gmock/gmock.h>
#include <sys/socket.h>

#include "net/limits.h"
#include "support/wire.h"

class Bounds : public testing::Test {
protected:
    FakeHost fake;
    const Service service;
    const int port = service.port();

    void pass(int milliseconds) const
    {
        skipTime(milliseconds);
        expectServes(port);
    }
};

// A form of one megabyte that begins with these bytes of its body.
static std::string largeForm(std::size_t bytes)
{
    return "POST / HTTP/1.1\r\n" + FORM + "Content-Length: 1000000\r\n\r\n"
           + std::string(bytes, 'x');
}

// The one that is closed; -1 when it is not exactly one.
static int closedOne(const std::vector<Client> &clients)
{
    int closed = -1;
    for (std::size_t i = 0; i < clients.size(); ++i)
        if (!clients[i].isOpen())
            closed = closed == -1 ? static_cast<int>(i) : -2;
    return closed;
}

TEST_F(Bounds, AFullTableDropsTheSilentThenTheSlowest)
{
    const std::vector<Client> clients = manyClients(MAX_CONNECTIONS, port);
    skipTime(3000);
    for (std::size_t i = 0; i < clients.size(); ++i)
        if (i != 7)
            clients[i].send("G");
    expectServes(port);
    EXPECT_EQ(7, closedOne(clients));
    const Client full(port); // in its place
    skipTime(3000);
    full.send("GGGG");
    for (std::size_t i = 0; i < clients.size(); ++i)
        clients[i].send(i == 9 ? "A" : "ABCDEF");
    expectServes(port);
    EXPECT_FALSE(clients[9].isOpen());
    EXPECT_TRUE(clients[8].isOpen() && clients[10].isOpen() && full.isOpen());
}

TEST_F(Bounds, TooManyWaitingBytesDropThoseWhoHaveBeenSilentForLongest)
{
    const Client silent(port);
    skipTime(1);
    const std::size_t each = 200000, fit = MAX_WAITING_BYTES / (each + 200);
    std::vector<Client> clients;
    for (std::size_t i = 0; i < fit; ++i) {
        clients.emplace_back(port, largeForm(each));
        pass(1);
    }
    for (int i = 0; i < 20; ++i) // until all is received, for which each has its turns
        expectServes(port);
    EXPECT_EQ(-1, closedOne(clients));
    clients.emplace_back(port, largeForm(each));
    EXPECT_TRUE(waitFor([&] { return closedOne(clients) != -1; }));
    EXPECT_EQ(0, closedOne(clients));
    EXPECT_TRUE(silent.isOpen()) << "its end would free nothing";
}

TEST_F(Bounds, OneLargeRequestArrivesAtATimeAndASlowOneGivesWay)
{
    const std::size_t part = 300000, all = 1000000;
    const Client first(port, largeForm(part));
    expectServes(port);
    const Client second(port, largeForm(part).substr(0, LARGE_REQUEST_BYTES));
    const std::size_t seconds = 65;
    for (std::size_t i = 0; i < seconds; ++i) { // fast enough to keep the place
        first.send(std::string(9000, 'x'));
        expectServes(port);
        pass(1000);
    }
    EXPECT_TRUE(first.isOpen() && second.isOpen());
    first.send(std::string(all - part - seconds * 9000, 'x'));
    EXPECT_EQ("", first.rest()) << "a form without a command gets no reply";
    expectServes(port);
    EXPECT_TRUE(second.isOpen()) << "it was silent for a minute because it had to wait";
    second.send("x");
    expectServes(port);
    const Client third(port, largeForm(part));
    pass(2500);
    EXPECT_TRUE(second.isOpen());
    skipTime(2400); // nobody wakes the service now
    EXPECT_EQ("", second.rest()) << "it has brought nothing for 5 seconds, and the third waits";

    third.send(std::string(100000, 'x'));
    const Client fourth(port, largeForm(part));
    for (int i = 0; i < 20; ++i) // until all is received
        expectServes(port);
    pass(5000);
    EXPECT_TRUE(third.isOpen()) << "it was fast";
    pass(5000);
    EXPECT_EQ("", third.rest()) << "it is fast no more";
    fourth.send(std::string(all - part, 'x'));
    EXPECT_EQ("", fourth.rest());
    expectServes(port);
}

// Neither does the kernel take much for this client.
static Client clientThatTakesLittle(int port, const std::string &request)
{
    Client client(port);
    const int little = 8192;
    setsockopt(client.socket(), SOL_SOCKET, SO_RCVBUF, &little, sizeof little);
    client.send(request);
    return client;
}

TEST_F(Bounds, TooManyParkedBytesDropThoseWhoHaveTakenNothingForLongest)
{
    const std::size_t size = 2 << 20;
    std::ofstream("/mnt/bf/webFiles/file.png") << std::string(size, 'f');
    // gSOAP sends a header back.
    const std::string token = "<Authentication>" + std::string(400000, 't') + "</Authentication>";
    const std::string echoed = httpPost("", envelope("getRTU", "", false, token));
    const std::size_t whole = talk(port, echoed).size();
    EXPECT_GT(whole, token.size());
    const Client file = clientThatTakesLittle(port, "GET /file.png HTTP/1.1\r\n\r\n");
    pass(500);
    std::vector<Client> clients;
    for (std::size_t i = 0; i < 2 * MAX_PARKED_BYTES / whole; ++i) {
        clients.push_back(clientThatTakesLittle(port, echoed));
        pass(1);
    }
    EXPECT_LT(clients.front().rest().size(), whole);
    EXPECT_EQ(whole, clients.back().rest().size());
    EXPECT_GT(file.rest().size(), size) << "files are not parked";
}

TEST_F(Bounds, TimesEndArrivalsAndDepartures)
{
    const std::size_t size = 16 << 20; // more than the kernels of both sides keep
    std::ofstream("/mnt/bf/webFiles/file.png") << std::string(size, 'f');
    const std::string soap = envelope("getRTU"), asks = "GET /file.png HTTP/1.1\r\n\r\n";
    const Client unclosed(port, httpPost("", soap.substr(0, soap.size() - 3)));
    const Client silent(port), cut(port, httpPost("", soap).substr(0, 120));
    const Client drips(port, "GET /"), reader(port, asks), taker(port, asks);
    expectServes(port);
    EXPECT_TRUE(unclosed.isOpen());
    pass(1000);
    EXPECT_EQ("", unclosed.rest());
    pass(55000);
    EXPECT_TRUE(silent.isOpen() && cut.isOpen());
    drips.send("a");
    char taken[400000];
    EXPECT_EQ(static_cast<ssize_t>(sizeof taken),
              recv(taker.socket(), taken, sizeof taken, MSG_WAITALL));
    pass(10000);
    EXPECT_EQ("", silent.rest());
    EXPECT_EQ("", cut.rest());
    EXPECT_GT(taker.rest().size() + sizeof taken, size);
    for (int minutes = 1; minutes < 5; ++minutes) {
        EXPECT_TRUE(drips.isOpen());
        drips.send("a");
        pass(59000);
    }
    // Not earlier: on a busy machine the kernels may still move bytes when the first minute has passed.
    EXPECT_LT(reader.rest().size(), size);
    EXPECT_EQ("", drips.rest());
}
