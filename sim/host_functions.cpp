// sim/host_functions.cpp: the functions of webServerHost.h, over the simulated unit.
#include "host_functions.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "clock.h"
#include "log.h"
#include "reboot.h"
#include "unit.h"
#include "webServer.h"
#include "webServerHost.h"

static const std::size_t VALUE_TEXT_SIZE = 312; // what x_readData may write, with the terminator
static const char *const BASELINE_VERSION = "sim baseline 1.0.0";
static const uint32_t MILLISECONDS_PER_SECOND = 1000;
static const uint32_t NANOSECONDS_PER_MILLISECOND = 1000000;
static const int REFUSED = -1; // by appUserVerify, which else returns the level

// The only account while the host's security is off.
static const char *const USER = "admin";
static const char *const PASSWORD = "admin";

static const char *coreDbVersion = "";

void setCoreDbVersion(const char *text)
{
    coreDbVersion = text;
}

// ---- Function containers -----------------------------------------------------------------------

enum CallStatus {
    CALL_DONE = 0,
    CALL_NO_CONTAINER = 1,
    CALL_NO_FUNCTION = 2,
    CALL_BAD_ARGUMENT = 3,
};

// The terminator goes in only if there is room: who asks for one byte gets the first letter.
static void putAnswer(char *answer, int size, const char *text)
{
    if (answer != nullptr && size > 0)
        memcpy(answer, text, std::min(static_cast<std::size_t>(size), strlen(text) + 1));
}

static CallStatus getLR(const char *, char *answer, int size)
{
    const char text[] = {theUnit().localRemote(), '\0'};
    putAnswer(answer, size, text);
    return CALL_DONE;
}

static CallStatus setLR(const char *argument, char *answer, int size)
{
    if (theUnit().setLocalRemote(argument) != 0)
        return CALL_BAD_ARGUMENT;
    return getLR(argument, answer, size);
}

static CallStatus setSource(const char *argument, char *answer, int size)
{
    int source = 0;
    const char *end = argument + strlen(argument);
    const std::from_chars_result parsed = std::from_chars(argument, end, source);
    if (parsed.ec != std::errc() || parsed.ptr != end)
        return CALL_BAD_ARGUMENT;
    setActiveTimeSource(source);
    putAnswer(answer, size, argument);
    return CALL_DONE;
}

static CallStatus uptime(const char *, char *answer, int size)
{
    char text[32];
    snprintf(text, sizeof text, "%.0f", theUnit().secondsUp());
    putAnswer(answer, size, text);
    return CALL_DONE;
}

static CallStatus echo(const char *argument, char *answer, int size)
{
    putAnswer(answer, size, argument);
    return CALL_DONE;
}

struct Function {
    const char *container;
    const char *name;
    CallStatus (*call)(const char *argument, char *answer, int size);
};

static const Function FUNCTIONS[] = {
    {"coreDb", "getLR",     getLR    }, // the switch: L local, R remote, U unknown
    {"coreDb", "setLR",     setLR    }, // with the letter
    {"thm",    "setSource", setSource}, // active time source, with its number
    {"unit",   "uptime",    uptime   }, // in seconds
    {"unit",   "echo",      echo     }, // answers the argument
};

static const char *textOrEmpty(const char *text)
{
    return text == nullptr ? "" : text;
}

// No container here has objects to tell apart, so any object will do.
static CallStatus callFunction(const char *container, const char *name, const char *argument,
                               char *answer, int size)
{
    CallStatus status = CALL_NO_CONTAINER;
    for (const Function &function : FUNCTIONS) {
        if (strcmp(function.container, textOrEmpty(container)) != 0)
            continue;
        if (strcmp(function.name, textOrEmpty(name)) == 0)
            return function.call(textOrEmpty(argument), answer, size);
        status = CALL_NO_FUNCTION;
    }
    return status;
}

static int loggedCall(const char *how, const char *container, const char *object, const char *name,
                      const char *argument, char *answer, int size)
{
    const int status = callFunction(container, name, argument, answer, size);
    logDetail("%s: %d: %s %s %s(%s)", how, status, inQuotes(textOrEmpty(container)).c_str(),
              inQuotes(textOrEmpty(object)).c_str(), inQuotes(textOrEmpty(name)).c_str(),
              inQuotes(textOrEmpty(argument)).c_str());
    return status;
}

// ---- What the library calls --------------------------------------------------------------------

extern "C" {

int x_readData(const char *type, const char *name, const char *format, char *text)
{
    const int status = theUnit().read(type, name, format, text, VALUE_TEXT_SIZE);
    logDetail("read: %d: %s %s %s", status, inQuotes(type).c_str(), inQuotes(name).c_str(),
              status == READ_DONE ? text : "");
    return status;
}

int x_krunchData(const char *type, const char *name, const char *value)
{
    const int status = theUnit().force(type, name, value, nullptr);
    sLogInfo("force: %d: %s %s to %s", status, inQuotes(type).c_str(), inQuotes(name).c_str(),
             inQuotes(value).c_str());
    return status;
}

int x_krunchDataQuality(const char *type, const char *name, const char *value, const char *flags)
{
    const int status = theUnit().force(type, name, value, flags);
    sLogInfo("force: %d: %s %s to %s with %s", status, inQuotes(type).c_str(),
             inQuotes(name).c_str(), inQuotes(value).c_str(), inQuotes(flags).c_str());
    return status;
}

int x_blockPoint(const char *type, const char *name, int onOff)
{
    const int status = theUnit().block(type, name, onOff);
    sLogInfo("block: %d: %s %s to %d", status, inQuotes(type).c_str(), inQuotes(name).c_str(),
             onOff);
    return status;
}

int coreDbShowVer(const char **text)
{
    *text = coreDbVersion;
    return 0;
}

int fnPut(const char *container, const char *object, const char *function, const char *argument)
{
    return loggedCall("fnPut", container, object, function, argument, nullptr, 0);
}

int fnPutS(const char *container, const char *object, const char *function, const char *argument,
           char *answer, int size, int)
{
    return loggedCall("fnPutS", container, object, function, argument, answer, size);
}

int thmSetTime(const struct timespec *time, int)
{
    const int result = time == nullptr ? -1 : setUnitTime(time->tv_sec);
    sLogInfo("clock: set over the network: %d", result);
    return result;
}

int thmIsInit()
{
    return 1;
}

int thmGetActiveTimeSource()
{
    return activeTimeSource();
}

int baselineShowVer(const char **text)
{
    *text = BASELINE_VERSION;
    return 0;
}

int usrReboot()
{
    noteRebootWish();
    return 0;
}

// Setting the unit's time leaves this counter alone. The conversion to 32 bits is the wrap.
uint32_t sysCnt1mlsg()
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(now.tv_sec) * MILLISECONDS_PER_SECOND
           + static_cast<uint32_t>(now.tv_nsec) / NANOSECONDS_PER_MILLISECOND;
}

// The library asks it while the host's security is off, and then makes the session's id itself.
int appUserVerify(const char *user, const char *password, char *)
{
    const bool right = strcmp(user, USER) == 0 && strcmp(password, PASSWORD) == 0;
    const int level = right ? WS_LEVEL_REBOOT : REFUSED;
    sLogInfo("login: %d: %s", level, inQuotes(user).c_str());
    return level;
}

} // extern "C"
