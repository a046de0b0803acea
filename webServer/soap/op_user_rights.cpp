// soap/op_user_rights.cpp: operations that tell a caller its own rights.
#include "session/gate.h"
#include "soap/checks.h"
#include "webServer.h"

int ns__getUserAuth(struct soap *soap, int *result)
{
    // Without the host's security a level belongs to a browser's session, and there is none yet.
    if (g_csEnabled == 0)
        return soap_receiver_fault(soap, "WebServer Error: Authentication error", __func__);
    if (denied(soap, __func__, WS_LEVEL_READ))
        return soap->error;
    *result = g_highLevel;
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
