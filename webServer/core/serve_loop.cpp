// core/serve_loop.cpp: serves one request after the other, until the service is closed.
#include "core/serve_loop.h"

#include <cstdio>
#include <httpget.h>
#include <unistd.h>

#include "core/accept_failures.h"
#include "core/listener.h"
#include "core/reboot.h"
#include "core/run_state.h"
#include "gsoap/context.h"
#include "gsoap/limits.h"
#include "gsoap/out_of_memory.h"
#include "gsoap/request_headers.h"
#include "gsoap/serve.h"
#include "gsoap/transport.h"
#include "http/cookie_header.h"
#include "http/cookies.h"
#include "http/form_plugin.h"
#include "net/connections.h"
#include "session/login.h"
#include "session/session_table.h"
#include "web/get_handler.h"
#include "web/post_handler.h"
#include "webServer.h"
#include "webServerHost.h"

// Deliberate: without a plug-in the service runs all the same, so that at least SOAP clients reach it.
static void registerPlugin(struct soap *soap,
                           int (*create)(struct soap *, struct soap_plugin *, void *),
                           int (*handler)(struct soap *))
{
    if (soap_register_plugin_arg(soap, create, reinterpret_cast<void *>(handler)) == SOAP_OK)
        return;
    soap_print_fault(soap, stderr);
    sLogErr("webServer: cannot register the plug-in for %s: %s",
            create == http_get ? "GET requests" : "forms", failureText(soap));
}

static void registerPlugins(struct soap *soap)
{
    registerPlugin(soap, http_get, http_get_handler);
    registerPlugin(soap, http_form, http_post_handler);
}

void serveConnection(struct soap *soap)
{
    if (acceptConnection(soap)) {
        reportAccepted();
        startRequest();
        serveRequests(soap); // a refused request has had its fault, or gets no reply
    } else if (isRunning()) {
        reportAcceptFailure(soap);
    }
    forgetLogin();
    forgetRequest(soap);
}

int openService(struct soap *soap)
{
    forgetAcceptFailures();
    configureContext(soap);
    registerPlugins(soap);
    ignoreResponseHeaders(soap);
    readCookieHeaders(soap, isSessionId);
    installCookieHeader(soap);
    installTransport(soap);
    installLimits(soap);
    installMemoryChecks(soap);
    return openListener(soap, g_serverAddr, g_serverPort);
}

// The host may start again as soon as g_wsSocket is -1, so it is set last.
static int closeService(struct soap *soap)
{
    const int listener = soap->master;
    // soap_done would close the socket, and its result would be lost.
    soap->master = SOAP_INVALID_SOCKET;
    releaseContext(soap);
    const int result = close(listener);
    setListeningSocket(SOAP_INVALID_SOCKET);
    return result;
}

int ws_soap_main(struct soap *soap)
{
    const int listener = openService(soap);
    setListeningSocket(listener);
    if (listener == SOAP_INVALID_SOCKET) {
        const int result = rebootUnit(soap);
        releaseContext(soap);
        setListeningSocket(SOAP_INVALID_SOCKET); // once more: the context is free for another start
        return result;
    }

    setRunning(true);
    sLogInfo("webServer: Listening address %s:%d", g_serverAddr, g_serverPort);
    printf("webServer: Listening address %s:%d\n", g_serverAddr, g_serverPort);

    while (isRunning() || requestsAreArriving())
        serveConnection(soap);
    closeConnections();
    return closeService(soap);
}
