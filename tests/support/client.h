// tests/support/client.h: a client's bytes to and from a service of the loopback network.
#pragma once

#include <string>
#include <vector>

// Returns a port that nobody listens on. The network must be the process's own.
int freePort();

// A client that sends and takes its bytes when the test says so.
class Client {
    int socket_;

public:
    // Connects from the given address of the loopback network, and sends the bytes.
    explicit Client(int port, const std::string &bytes = "", const std::string &from = "127.0.0.1");
    ~Client();
    Client(Client &&other) noexcept : socket_(other.socket_) { other.socket_ = -1; }

    int socket() const { return socket_; } // -1: there is no connection
    void send(const std::string &bytes, int flags = 0) const;
    bool isOpen() const; // nothing has come, and the service has not closed it

    // All that comes until the connection ends; "(nothing)" without a connection, or after a minute without
    // a byte.
    std::string rest() const;
};

std::vector<Client> manyClients(std::size_t count, int port, const std::string &bytes = "");

// Sends bytes and returns all that comes back until the connection ends. With hangUp, the client also
// ends its sending side after the bytes.
std::string talk(int port, const std::string &bytes, const std::string &from = "127.0.0.1",
                 bool hangUp = false);

// Writes a connection's bytes, as an input of fuzz_connection, into the folder that the variable REQUESTS
// names, if it is set.
void recordRequest(const std::string &bytes);
