// gsoap/transport.cpp: lets gSOAP accept, receive, send and close through net/connections.h.
#include "gsoap/transport.h"

#include <arpa/inet.h>
#include <stdsoap2.h>

#include "net/connections.h"

// gSOAP's own callbacks, for sockets that are not connections of the service.
static size_t (*receive)(struct soap *, char *, size_t);
static int (*sendBytes)(struct soap *, const char *, size_t);
static int (*pollSocket)(struct soap *);
static int (*shutDown)(struct soap *, SOAP_SOCKET, int);
static int (*closeSocket)(struct soap *, SOAP_SOCKET);

// gSOAP writes the address as text and reads it back. Without memory for that, its number would stay 0:
// one address for all clients, by which a stranger could use another's session.
bool acceptConnection(struct soap *soap)
{
    if (!soap_valid_socket(soap_accept(soap)))
        return false;
    if (soap->peer.addr.sa_family == AF_INET)
        soap->ip = ntohl(soap->peer.in.sin_addr.s_addr);
    return true;
}

bool servesConnection(const struct soap *soap)
{
    return soap_valid_socket(soap->socket) && isServed(soap->socket);
}

extern "C" {

static SOAP_SOCKET acceptNext(struct soap *, SOAP_SOCKET, struct sockaddr *address, int *size)
{
    return nextConnection(address, size);
}

static size_t receiveArrived(struct soap *soap, char *to, size_t size)
{
    return servesConnection(soap) ? readRequest(to, size) : receive(soap, to, size);
}

static int sendOrKeep(struct soap *soap, const char *bytes, size_t count)
{
    if (!servesConnection(soap))
        return sendBytes(soap, bytes, count);
    return count == 0 || sendReply(bytes, count) ? SOAP_OK : SOAP_EOF;
}

// Before it sends a fault, gSOAP looks whether the client is still there. One that has ended its own side, as some
// do after the last byte of a request, counts as gone, but waits for the reply.
static int expectReader(struct soap *soap)
{
    return servesConnection(soap) ? SOAP_OK : pollSocket(soap);
}

// gSOAP shuts down and closes when it has handed over the reply. The connection ends when the client has taken
// it.
static int shutDownLater(struct soap *soap, SOAP_SOCKET socket, int how)
{
    return isServed(socket) ? SOAP_OK : shutDown(soap, socket, how);
}

static int closeLater(struct soap *soap, SOAP_SOCKET socket)
{
    if (!isServed(socket))
        return closeSocket(soap, socket);
    releaseConnection();
    return SOAP_OK;
}

} // extern "C"

void installTransport(struct soap *soap)
{
    soap->faccept = acceptNext;
    receive = soap->frecv;
    soap->frecv = receiveArrived;
    sendBytes = soap->fsend;
    soap->fsend = sendOrKeep;
    pollSocket = soap->fpoll;
    soap->fpoll = expectReader;
    shutDown = soap->fshutdownsocket;
    soap->fshutdownsocket = shutDownLater;
    closeSocket = soap->fclosesocket;
    soap->fclosesocket = closeLater;
}
