// soap/op_core_db_read.cpp: operations that read points of the real-time database.
#include <cstring>

#include "base/text.h"
#include "gsoap/request_memory.h"
#include "soap/checks.h"
#include "soap/fault_detail.h"
#include "webServer.h"
#include "webServerHost.h"

static constexpr std::size_t SINGLE_READ_SIZE = 1024;
static constexpr std::size_t MULTI_READ_SIZE = 312; // promised to hosts, for one point's text
// Bytes of the reply for each point, on average; what does not fit is cut.
static constexpr std::size_t MULTI_READ_PER_POINT = 64;
static constexpr int MAX_POINTS = 1000;

enum ReadResult { READ = 0, NOT_FOUND = 1, READ_ERROR = 2, NO_SUCH_TYPE = 3 };

static int refuseRead(struct soap *soap, int result, const char *type, const char *name)
{
    switch (result) {
    case NOT_FOUND:
        return soap_receiver_fault(
            soap, "WebServer Error: Object read error",
            faultDetail(soap, "Object type %s name %s not found", type, name));
    case READ_ERROR:
        return soap_receiver_fault(
            soap, "WebServer Error: Object read error",
            faultDetail(soap, "Object type %s name %s read error", type, name));
    case NO_SUCH_TYPE: // sic: "exit"
        return soap_receiver_fault(soap, "WebServer Error: Object type error",
                                   faultDetail(soap, "Object type %s does not exit", type));
    default:
        return soap_receiver_fault(soap, "WebServer Error: Unknown error",
                                   faultDetail(soap, "Error: %d", result));
    }
}

int ns__coreDbReadData(struct soap *soap, char *inputType, char *inputName, char *inputFormat,
                       char **result)
{
    if (missing(soap, __func__, {inputType, inputName, inputFormat})
        || denied(soap, __func__, WS_LEVEL_READ)
        || invalidText(soap, __func__, "inputType", inputType)
        || invalidText(soap, __func__, "inputFormat", inputFormat))
        return soap->error;

    char *text = requestText(soap, SINGLE_READ_SIZE);
    if (text == nullptr)
        return soap_receiver_fault(soap, "WebServer Error: Unknown error", __func__);
    const int outcome = x_readData(inputType, inputName, inputFormat, text);
    text[SINGLE_READ_SIZE - 1] = '\0';
    if (outcome != READ)
        return refuseRead(soap, outcome, inputType, inputName);
    *result = text;
    return SOAP_OK;
}

// Takes the next "[name]" off the list and terminates the name in place. Returns null when the list does
// not go on with one.
static char *nextName(char **list)
{
    if (**list != '[')
        return nullptr;
    char *name = *list + 1;
    char *end = strchr(name, ']');
    if (end == nullptr)
        return nullptr;
    *end = '\0';
    *list = end + 1;
    return name;
}

int ns__coreDbReadMultData(struct soap *soap, char *inputType, char *inputNames, char *inputFormat,
                           int *inputNum, char **result)
{
    if (missing(soap, __func__, {inputType, inputNames, inputFormat, inputNum})
        || denied(soap, __func__, WS_LEVEL_READ)
        || invalidText(soap, __func__, "inputType", inputType)
        || invalidText(soap, __func__, "inputFormat", inputFormat)
        || invalidNumber(soap, __func__, "inputNum", *inputNum))
        return soap->error;
    if (*inputNum > MAX_POINTS)
        return soap_receiver_fault(soap, "WebServer Error: trying to read more than 1000 points",
                                   nullptr);

    const std::size_t size = static_cast<std::size_t>(*inputNum) * MULTI_READ_PER_POINT;
    *result = requestMemory(soap, size); // up to 64,000 bytes, so not zeroed
    if (*result == nullptr)              // sic: the text names the other operation
        return soap_receiver_fault(soap, "WebServer Error: coreDbReadData: soap_malloc error",
                                   nullptr);

    TextWriter writer(*result, size);
    // One byte more, in case the host fills it without a terminator.
    char text[MULTI_READ_SIZE + 1] = "";
    for (int i = 0; i < *inputNum; ++i) {
        const char *name = nextName(&inputNames);
        if (name == nullptr)
            return soap_receiver_fault(soap, "WebServer Error: input string format error", nullptr);
        const bool read = x_readData(inputType, name, inputFormat, text) == READ;
        const std::string_view point = text;
        writer.append('[');
        writer.append(read ? point : "X|X");
        writer.append(']');
        memset(text, 0, point.size()); // the next point's host finds it empty
    }
    return SOAP_OK;
}
