// soap/op_device.cpp: calls into function containers, reboot, and what the unit is.
#include "base/text.h"
#include "gsoap/request_memory.h"
#include "soap/checks.h"
#include "webServer.h"
#include "webServerHost.h"

static constexpr int ANSWER_SIZE = 128;

int ns__fnPut(struct soap *soap, char *binContName, char *binName, char *function, char *arg,
              int *result)
{
    if (denied(soap, __func__, WS_LEVEL_WRITE))
        return soap->error;
    *result = fnPut(binContName, binName, function, arg);
    return SOAP_OK;
}

int ns__fnPutS(struct soap *soap, char *binContName, char *binName, char *function, char *arg,
               int *timeout, char **result)
{
    // Deliberate: the gate comes first, unlike elsewhere. A caller without the right gets "Not allowed"
    // even when the time-out is missing, and clients distinguish the two faults.
    if (denied(soap, __func__, WS_LEVEL_WRITE) || missing(soap, __func__, {timeout}))
        return soap->error;

    char answer[ANSWER_SIZE + 1] = ""; // one byte more, in case the host does not terminate it
    if (fnPutS(binContName, binName, function, arg, answer, ANSWER_SIZE, *timeout) != 0)
        return soap_receiver_fault(soap, "WebServer Error: invalid returned value", __func__);
    *result = requestText(soap, ANSWER_SIZE);
    if (*result != nullptr)
        TextWriter(*result, ANSWER_SIZE).append(answer);
    return SOAP_OK;
}

int ns__rtuReboot(struct soap *soap, char *user, char *password, int *result)
{
    // Deliberate: both elements must be there, but their values are not read. The gate alone decides.
    if (missing(soap, __func__, {user, password}) || denied(soap, __func__, WS_LEVEL_REBOOT))
        return soap->error;
    *result = usrReboot();
    return SOAP_OK;
}

int ns__baselineShowVer(struct soap *soap, char **result)
{
    if (denied(soap, __func__, WS_LEVEL_READ))
        return soap->error;
    const char *version = "";
    baselineShowVer(&version);
    *result = const_cast<char *>(version); // the host's own text; the reply only reads it
    return SOAP_OK;
}

int ns__getRTU(struct soap *, char **result)
{
    static char unitType[] = "512Q";
    *result = unitType;
    return SOAP_OK;
}
