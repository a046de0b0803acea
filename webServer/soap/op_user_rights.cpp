// soap/op_user_rights.cpp: operations that report a caller's own rights.
#include "session/gate.h"
#include "session/request_check.h"
#include "session/session_table.h"
#include "soap/checks.h"
#include "webServer.h"

int ns__getUserAuth(struct soap *soap, int *result)
{
    if (g_csEnabled != 0) {
        if (denied(soap, __func__, WS_LEVEL_READ))
            return soap->error;
        *result = g_highLevel;
        return SOAP_OK;
    }
    // Deliberate: for a stale session the client receives a page first and then the fault.
    int session = -1;
    const int level =
        httpCheckUser(soap, 0, 0, &session) == 0 ? getSessionAccessLevel(session) : -1;
    if (level == -1)
        return soap_receiver_fault(soap, "WebServer Error: Authentication error", __func__);
    *result = level;
    return SOAP_OK;
}

int ns__getRbacPerm(struct soap *soap, int *result)
{
    *result = -1;
    if (g_csEnabled == 0)
        return SOAP_OK;
    const int verdict = askGate(soap, WS_LEVEL_READ);
    if (verdict < 1 || verdict > WS_ALLOWED)
        return soap_receiver_fault(soap, "WebServer Error: Authentication error", __func__);
    *result = verdict;
    return SOAP_OK;
}
