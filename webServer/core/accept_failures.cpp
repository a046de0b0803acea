// core/accept_failures.cpp: logs connections that could not be accepted.
#include "core/accept_failures.h"

#include <cstdio>
#include <stdsoap2.h>

#include "gsoap/context.h"
#include "net/connections.h"
#include "webServerHost.h"

// A lack of descriptors or memory has been logged and has not ended. Service thread only.
static bool shortageLogged;

void forgetAcceptFailures()
{
    shortageLogged = false;
}

void reportAcceptFailure(struct soap *soap)
{
    if (soap->errnum == 0) {
        sLogWarn("webServer: Server timed out (timeout set to %d seconds)", soap->accept_timeout);
        return;
    }
    const bool shortage = isShortage(soap->errnum);
    if (shortage && shortageLogged)
        return; // the service tries ten times a second, which would fill the log
    shortageLogged = shortageLogged || shortage;
    sLogErr("webServer soap error: %s", failureText(soap));
    soap_print_fault(soap, stderr);
}

void reportAccepted()
{
    if (!shortageLogged || acceptHasFailed())
        return;
    sLogInfo("webServer: connections are accepted again");
    shortageLogged = false;
}
