// soap/op_clock.cpp: operations that set and read the unit's clock.
#include <ctime>

#include "gsoap/request_memory.h"
#include "soap/checks.h"
#include "soap/clock_text.h"
#include "webServer.h"
#include "webServerHost.h"

static constexpr std::size_t CLOCK_TEXT_SIZE = 70;

static_assert(sizeof(struct timespec) == 2 * sizeof(long), "hosts read a time of two longs");

int ns__thmSetTime(struct soap *soap, char *inputTime, int *result)
{
    struct tm local;
    if (missing(soap, __func__, {inputTime}) || denied(soap, __func__, WS_LEVEL_WRITE)
        || (!parseClock(inputTime, &local) && refuseParameters(soap, __func__)))
        return soap->error;

    const struct timespec time = {mktime(&local), 0};
    const bool representable = time.tv_sec != -1; // a 32-bit time_t ends in 2038
    if (!representable || thmSetTime(&time, 0) == -1) {
        *result = 1;
        return soap_receiver_fault(soap, "WebServer Error: Set time error", "");
    }
    *result = 0;
    return SOAP_OK;
}

int ns__thmGetInfo(struct soap *soap, char **result)
{
    if (denied(soap, __func__, WS_LEVEL_READ))
        return soap->error;
    if (thmIsInit() == 0)
        return soap_receiver_fault(soap, "WebServer Error: thm module not initialized", "");

    *result = requestText(soap, CLOCK_TEXT_SIZE);
    struct timespec now;
    struct tm local = {};
    clock_gettime(CLOCK_REALTIME, &now);
    localtime_r(&now.tv_sec, &local);
    if (*result != nullptr)
        formatClock(*result, CLOCK_TEXT_SIZE, local, thmGetActiveTimeSource());
    return SOAP_OK;
}
