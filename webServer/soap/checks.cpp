// soap/checks.cpp: the questions an operation asks before it touches the host, and its faults.
#include "soap/checks.h"

#include "session/gate.h"
#include "soap/validation.h"
#include "webServer.h"

bool refuse(struct soap *soap, const char *message, const char *detail)
{
    soap_receiver_fault(soap, message, detail);
    return true;
}

bool refuseParameters(struct soap *soap, const char *operation)
{
    return refuse(soap, "WebServer Error: Invalid parameters", operation);
}

bool anyAbsent(std::initializer_list<const void *> fields)
{
    for (const void *field : fields)
        if (field == nullptr)
            return true;
    return false;
}

bool missing(struct soap *soap, const char *operation, std::initializer_list<const void *> fields)
{
    return anyAbsent(fields) && refuseParameters(soap, operation);
}

bool denied(struct soap *soap, const char *operation, int level)
{
    const int verdict = askGate(soap, level);
    if (verdict == WS_ALLOWED)
        return false;
    if (verdict == WS_NOT_AUTHENTICATED)
        return refuse(soap, "WebServer Error: Authentication error", operation);
    return refuse(soap, "WebServer Error: Not allowed", operation);
}

bool invalidText(struct soap *soap, const char *operation, const char *field, const char *value)
{
    return wsInputStringValidation(operation, field, value) == 0
           && refuseParameters(soap, operation);
}

bool invalidNumber(struct soap *soap, const char *operation, const char *field, int value)
{
    return wsInputIntValidation(operation, field, value) == 0 && refuseParameters(soap, operation);
}
