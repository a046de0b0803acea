// core/serve_loop.cpp: settings, bind, accept and serve, one connection at a time, until closed.
#include "core/serve_loop.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <httpget.h>
#include <malloc.h>
#include <poll.h>
#include <soapH.h>
#include <sys/reboot.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/thread_shared.h"
#include "gsoap/limits.h"
#include "http/form_plugin.h"
#include "web/get_handler.h"
#include "web/post_handler.h"
#include "webServer.h"
#include "webServerHost.h"

int g_wsSocket = -1;
int g_wsRunningSocket = 0;

// Strings pass through unchanged, as UTF-8. The number is what counts: the runtime has had two names
// for it. Without SOAP_IO_KEEPALIVE each connection carries one request.
static const soap_mode CONTEXT_MODE = 0x2000000;

static const int ACCEPT_TIMEOUT_SECONDS = 0; // waits without limit
static const int STALL_TIMEOUT_SECONDS = 60;
static const int MAX_KEEP_ALIVE = 100; // only a bound: keep-alive is never on
static const int BACKLOG = 100;
// Of elements that are read, not skipped: the runtime's 10,000 are for a larger stack.
static const unsigned MAX_XML_DEPTH = 100;
static const int MAX_COOKIES = 256; // browsers send a unit's cookies to every port of its address
static const int ACCEPT_RETRY_MILLISECONDS = 100; // a lack of descriptors would flood the log
static const int MAX_PORT = 65535;
static const int MAX_CLOSE_WAITS = 10; // of one second

static_assert(RB_AUTOBOOT == 0x01234567, "the restart command");

void ws_soap_initiate(struct soap *soap)
{
    setThreadName();

    // A client that leaves early must not end the process of a host that has no handler.
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);

    soap_init2(soap, CONTEXT_MODE, CONTEXT_MODE);
}

static void configure(struct soap *soap)
{
    soap->cookie_domain = "";
    soap->cookie_path = "";
    soap->cookie_max = MAX_COOKIES;
    soap->accept_timeout = ACCEPT_TIMEOUT_SECONDS;
    soap->send_timeout = STALL_TIMEOUT_SECONDS;
    soap->recv_timeout = STALL_TIMEOUT_SECONDS;
    soap->max_keep_alive = MAX_KEEP_ALIVE;
    soap->bind_flags = SO_REUSEADDR;
    soap->recv_maxlength = MAX_REQUEST_BYTES;
    soap->maxlevel = MAX_XML_DEPTH;
    // What this runtime adds of its own accord: the first would let every page in the world call the
    // unit from a browser, the second keeps the unit's pages out of a control room's frames.
    soap->cors_allow = nullptr;
    soap->x_frame_options = nullptr;
}

static void registerPlugins(struct soap *soap)
{
    if (soap_register_plugin_arg(soap, http_get, reinterpret_cast<void *>(http_get_handler)) != 0)
        soap_print_fault(soap, stderr);
    if (soap_register_plugin_arg(soap, http_form, reinterpret_cast<void *>(http_post_handler)) != 0)
        soap_print_fault(soap, stderr);
}

// The text of the context's last failure; the message buffer, where gSOAP kept it once, stays empty.
static const char *failureText(struct soap *soap)
{
    const char *text = *soap_faultstring(soap);
    return text == nullptr ? "" : text;
}

static int listenOn(struct soap *soap, const char *address, int port)
{
    if (port < 1 || port > MAX_PORT) {
        // The runtime would bind the number modulo 65536, and so a port that nobody asked for.
        soap_receiver_fault(soap, strerror(EINVAL), "port out of range");
        return SOAP_INVALID_SOCKET;
    }
    const int listener = soap_bind(soap, address, port, BACKLOG);
    // A program that the host starts must not keep the port: the next bind would reboot the unit.
    if (listener > 0)
        fcntl(listener, F_SETFD, FD_CLOEXEC);
    if (listener != 0)
        return listener;
    // In a process without standard input; but 0 reads as "stopped" to who waits for the close.
    soap->master = fcntl(listener, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (soap->master == SOAP_INVALID_SOCKET)
        soap_receiver_fault(soap, strerror(errno), nullptr);
    close(listener);
    return soap->master;
}

static void releaseContext(struct soap *soap)
{
    soap_destroy(soap);
    soap_end(soap);
    soap_done(soap);
}

// Deliberate: a unit that cannot be reached is restarted, since nobody could tell it to.
static int rebootUnit(struct soap *soap)
{
    soap_print_fault(soap, stderr);
    sLogErr("webServer: rebooting system since socket binding fails for %s:%d. Soap error: %s",
            g_serverAddr, g_serverPort, failureText(soap));
    sync();
    const int result = reboot(RB_AUTOBOOT);
    releaseContext(soap);
    return result;
}

static void reportAcceptFailure(struct soap *soap)
{
    if (soap->errnum != 0) {
        sLogErr("webServer soap error: %s", failureText(soap));
        soap_print_fault(soap, stderr);
    } else {
        sLogWarn("webServer: Server timed out (timeout set to %d seconds)", soap->accept_timeout);
    }
}

// Nothing of a request may reach the next one, which can be another client's: not its memory, and
// not what the runtime keeps over a connection's end.
static void forgetRequest(struct soap *soap)
{
    soap_destroy(soap);
    soap_end(soap);
    soap_free_cookies(soap);
    soap->path[0] = '\0';
    soap->msgbuf[0] = '\0';
    soap->host[0] = '\0';
    soap->endpoint[0] = '\0';
    soap->tag[0] = '\0';
    soap->dime.size = 0;
    soap->user = nullptr;
    soap->origin = soap->proxy_from = nullptr;
    soap->cors_origin = soap->cors_method = soap->cors_header = nullptr;
    soap->cors_methods = soap->cors_headers = nullptr;
    soap->imode = soap->omode = CONTEXT_MODE; // a sent file has changed it
    gblIpAddress = nullptr;
    if (requestWasLong())
        malloc_trim(0);
}

void serveConnection(struct soap *soap)
{
    if (soap_valid_socket(soap_accept(soap))) {
        fcntl(soap->socket, F_SETFD, FD_CLOEXEC);
        startRequestGuard();
        soap_serve(soap); // has already answered the client, whatever it returns
    } else if (readShared(g_wsRunningSocket) != 0) {
        reportAcceptFailure(soap);
        poll(nullptr, 0, ACCEPT_RETRY_MILLISECONDS);
    }
    forgetRequest(soap);
}

// g_wsSocket becomes -1 last: it tells the host that the context is free for another start.
static int release(struct soap *soap)
{
    const int listener = soap->master;
    soap->master = SOAP_INVALID_SOCKET; // soap_done would close it, too
    releaseContext(soap);
    const int result = close(listener);
    writeShared(g_wsSocket, -1);
    return result;
}

int openService(struct soap *soap)
{
    configure(soap);
    registerPlugins(soap);
    installRequestGuard(soap);
    return listenOn(soap, g_serverAddr, g_serverPort);
}

int ws_soap_main(struct soap *soap)
{
    const int listener = openService(soap);
    writeShared(g_wsSocket, listener);
    if (listener == SOAP_INVALID_SOCKET)
        return rebootUnit(soap);

    writeShared(g_wsRunningSocket, 1);
    sLogInfo("webServer: Listening address %s:%d", g_serverAddr, g_serverPort);
    printf("webServer: Listening address %s:%d\n", g_serverAddr, g_serverPort);

    while (readShared(g_wsRunningSocket) != 0)
        serveConnection(soap);
    return release(soap);
}

int ws_soap_close()
{
    writeShared(g_wsRunningSocket, 0);
    sLogInfo("webServer: closing");
    // Wakes the blocked accept, which then fails. A failure here only means: already closed.
    shutdown(readShared(g_wsSocket), SHUT_RDWR);

    int waits = 0;
    while (readShared(g_wsSocket) > 0 && waits < MAX_CLOSE_WAITS) {
        sleep(1);
        ++waits;
    }
    return waits == MAX_CLOSE_WAITS ? 1 : 0;
}
