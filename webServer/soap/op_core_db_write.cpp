// soap/op_core_db_write.cpp: operations that write to points of the real-time database.
#include <cstdlib>
#include <cstring>

#include "soap/checks.h"
#include "soap/local_remote.h"
#include "webServer.h"
#include "webServerHost.h"

// Deliberate: under local control the two krunch operations return 1 in an ordinary response, not a
// fault. Blocking a point is not refused.
int ns__coreDbKrunchData(struct soap *soap, char *inputType, char *inputName, char *value,
                         int *result)
{
    if (missing(soap, __func__, {inputType, inputName, value})
        || denied(soap, __func__, WS_LEVEL_WRITE)
        || invalidText(soap, __func__, "inputType", inputType))
        return soap->error;

    *result = checkLocalRemote(inputType);
    if (*result == 0)
        *result = x_krunchData(inputType, inputName, value);
    return SOAP_OK;
}

// Forcing with quality came with version 10 of the core database. sic: both texts lack
// "WebServer Error: ".
static bool oldCoreDb(struct soap *soap, const char *operation)
{
    const std::size_t shortest = 12;
    const std::size_t majorAt = 8; // two decimal digits
    const int oldestMajor = 10;

    const char *version = "";
    coreDbShowVer(&version);
    if (version == nullptr || strlen(version) < shortest)
        return refuse(soap, "Invalid coreDb version", operation);
    const char major[] = {version[majorAt], version[majorAt + 1], '\0'};
    return atoi(major) < oldestMajor
           && refuse(soap, "Web service not supported for this coreDb version", operation);
}

int ns__coreDbKrunchDataQuality(struct soap *soap, char *inputType, char *inputName, char *value,
                                char *flags, int *result)
{
    if (missing(soap, __func__, {inputType, inputName, value, flags})
        || denied(soap, __func__, WS_LEVEL_WRITE)
        || invalidText(soap, __func__, "inputType", inputType) || oldCoreDb(soap, __func__))
        return soap->error;

    *result = checkLocalRemote(inputType);
    if (*result == 0)
        *result = x_krunchDataQuality(inputType, inputName, value, flags);
    return SOAP_OK;
}

int ns__coreDbBlockPoint(struct soap *soap, char *inputType, char *inputName, int *onOff,
                         int *result)
{
    if (missing(soap, __func__, {inputType, inputName, onOff})
        || denied(soap, __func__, WS_LEVEL_WRITE)
        || invalidText(soap, __func__, "inputType", inputType)
        || invalidNumber(soap, __func__, "onOff", *onOff))
        return soap->error;

    *result = x_blockPoint(inputType, inputName, *onOff);
    return SOAP_OK;
}
