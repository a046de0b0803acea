// soap/validation.cpp: what the database operations accept in their fields.
#include "soap/validation.h"

#include <cstddef>
#include <cstring>

// Deliberate: every text in this file passes when it begins with the constant. The host judges the rest.
static bool beginsWith(const char *text, const char *constant)
{
    return strncmp(text, constant, strlen(constant)) == 0;
}

template <std::size_t N>
static bool beginsWithAny(const char *text, const char *const (&constants)[N])
{
    for (const char *constant : constants)
        if (beginsWith(text, constant))
            return true;
    return false;
}

static constexpr const char *OPERATIONS[] = {"ns__coreDbReadData", "ns__coreDbReadMultData",
                                             "ns__coreDbKrunchData", "ns__coreDbKrunchDataQuality",
                                             "ns__coreDbBlockPoint"};
static constexpr const char *POINT_TYPES[] = {"status", "analog", "command", "setPoint"};
static constexpr const char *FORMATS[] = {"%d", "%u", "%g"}; // or empty, for the host's own format

int wsInputStringValidation(const char *operation, const char *field, const char *value)
{
    if (!beginsWithAny(operation, OPERATIONS))
        return 0;
    if (beginsWith(field, "inputType"))
        return beginsWithAny(value, POINT_TYPES);
    if (beginsWith(field, "inputFormat"))
        return *value == '\0' || beginsWithAny(value, FORMATS);
    return 0;
}

int wsInputIntValidation(const char *operation, const char *field, int value)
{
    if (beginsWith(operation, "ns__coreDbReadMultData") && beginsWith(field, "inputNum"))
        return value > 0;
    if (beginsWith(operation, "ns__coreDbBlockPoint") && beginsWith(field, "onOff"))
        return value == 0 || value == 1;
    return 0;
}
