// sim/port.cpp: binds the port for a moment.
#include "port.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

#include "require.h"

static const int MIN_PORT = 1;
static const int MAX_PORT = 65535;

// Returns 0 or the error number. As gSOAP does, takes a port on which only old connections end.
static int tryBind(const struct sockaddr_in &address)
{
    const int reuse = 1;
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    const int result =
        bind(descriptor, reinterpret_cast<const struct sockaddr *>(&address), sizeof address);
    const int error = result == 0 ? 0 : errno;
    close(descriptor);
    return error;
}

static std::string advice(int error)
{
    switch (error) {
    case EADDRINUSE:
        return "; stop the program that uses it, or choose another --port";
    case EACCES:
        return "; a port as low needs a right that the unit has given up: choose another --port";
    case EADDRNOTAVAIL:
        return "; this machine does not have the address: choose another --address";
    default:
        return "";
    }
}

void requirePort(const std::string &address, int port)
{
    struct sockaddr_in to = {};
    to.sin_family = AF_INET;
    if (inet_pton(AF_INET, address.c_str(), &to.sin_addr) != 1 || port < MIN_PORT
        || port > MAX_PORT)
        return;
    to.sin_port = htons(static_cast<uint16_t>(port));
    const int error = tryBind(to);
    require(error == 0, "cannot listen on " + address + ':' + std::to_string(port) + ": "
                            + strerror(error) + advice(error));
}
