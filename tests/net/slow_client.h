// tests/net/slow_client.h: a client that sends and takes its bytes when the test says so.
#pragma once

#include <string>
#include <vector>

#include "support/wire.h"

class SlowClient {
    int socket_;

public:
    explicit SlowClient(int port, const std::string &bytes = "",
                        const std::string &from = "127.0.0.1");
    ~SlowClient();
    SlowClient(SlowClient &&other) noexcept : socket_(other.socket_) { other.socket_ = -1; }
    SlowClient(const SlowClient &) = delete;
    SlowClient &operator=(const SlowClient &) = delete;

    int socket() const { return socket_; }
    void send(const std::string &bytes) const;

    bool isOpen() const; // nothing has come, and the service has not closed it

    // All that comes until the connection ends; "(nothing)" after ten seconds without a byte.
    std::string rest() const;
};

std::vector<SlowClient> slowClients(std::size_t count, int port, const std::string &bytes = "");

extern const std::string FORM; // the header line of a form's type
extern const std::string READ; // an envelope that reads one analog point

// The service has seen all that was sent before, and what the clock has made due.
void expectServes(int port);
