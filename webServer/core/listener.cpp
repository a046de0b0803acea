// core/listener.cpp: the socket on which clients arrive.
#include "core/listener.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <soapH.h>
#include <unistd.h>

#include "net/connections.h"
#include "net/limits.h"

static constexpr int MAX_PORT = 65535;
static constexpr int BACKLOG = 100; // connections that the kernel holds while a request is served

// A program that the host starts must not inherit the socket: it would keep the port, and the next bind
// would reboot the unit.
static void keepFromPrograms(int descriptor)
{
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

// In a process without standard input soap_bind returns descriptor 0, which means "stopped" to
// ws_soap_close() and to hosts. Returns the socket under a higher number, or -1 when none is free.
static int movedFromZero(struct soap *soap)
{
    const int moved = fcntl(soap->master, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (moved == -1)
        soap_receiver_fault(soap, strerror(errno), nullptr);
    close(soap->master);
    return moved;
}

int openListener(struct soap *soap, const char *address, int port)
{
    if (port < 1 || port > MAX_PORT) {
        // gSOAP would bind the number modulo 65536: a port that nobody asked for.
        soap_receiver_fault(soap, strerror(EINVAL), "port out of range");
        return SOAP_INVALID_SOCKET;
    }
    soap->sndbuf = soap->rcvbuf = SOCKET_BUFFER_BYTES;
    if (!soap_valid_socket(soap_bind(soap, address, port, BACKLOG)))
        return SOAP_INVALID_SOCKET;
    soap->sndbuf = soap->rcvbuf = 0; // gSOAP leaves the connections' sizes alone
    if (soap->master == STDIN_FILENO)
        soap->master = movedFromZero(soap);
    else
        keepFromPrograms(soap->master);
    if (soap_valid_socket(soap->master))
        openConnections(soap->master);
    return soap->master;
}
