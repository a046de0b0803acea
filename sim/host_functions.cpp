// sim/host_functions.cpp: the function containers, the version and the login of webServerHost.h.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <ctime>
#include <string>
#include <system_error>

#include "clock.h"
#include "log.h"
#include "plain_text.h"
#include "security/gate.h"
#include "unit.h"
#include "webServer.h"
#include "webServerHost.h"

static const int REFUSED = -1; // appUserVerify's answer in place of a level

// The only account while the host's security is off.
static const char *const USER = "admin";
static const char *const PASSWORD = "admin";

static std::string localRemote = "R"; // the switch: "L" local, "R" remote, "U" unknown

// ---- Function containers -----------------------------------------------------------------------

enum CallStatus {
    CALL_DONE = 0,
    CALL_NO_CONTAINER = 1,
    CALL_NO_FUNCTION = 2,
    CALL_BAD_ARGUMENT = 3,
};

static CallStatus getLR(const std::string &, std::string *answer)
{
    *answer = localRemote;
    return CALL_DONE;
}

static CallStatus setLR(const std::string &argument, std::string *answer)
{
    if (argument != "L" && argument != "R" && argument != "U")
        return CALL_BAD_ARGUMENT;
    *answer = localRemote = argument;
    sLogInfo("control: set to %s, %s", argument.c_str(), byCaller().c_str());
    return CALL_DONE;
}

static CallStatus setSource(const std::string &argument, std::string *answer)
{
    int source = 0;
    const char *end = argument.data() + argument.size();
    const std::from_chars_result parsed = std::from_chars(argument.data(), end, source);
    if (parsed.ec != std::errc() || parsed.ptr != end)
        return CALL_BAD_ARGUMENT;
    setActiveTimeSource(source);
    *answer = argument;
    sLogInfo("clock: time source %d, %s", source, byCaller().c_str());
    return CALL_DONE;
}

static CallStatus uptime(const std::string &, std::string *answer)
{
    *answer = std::to_string(std::lround(secondsUp()));
    return CALL_DONE;
}

static CallStatus idleLimit(const std::string &, std::string *answer)
{
    *answer = std::to_string(sessTimeOut);
    return CALL_DONE;
}

static CallStatus utcOffset(const std::string &, std::string *answer)
{
    const time_t now = time(nullptr);
    struct tm local;
    char text[8];
    strftime(text, sizeof(text), "%z", localtime_r(&now, &local));
    *answer = text;
    return CALL_DONE;
}

static CallStatus echo(const std::string &argument, std::string *answer)
{
    *answer = argument;
    return CALL_DONE;
}

static const struct {
    const char *container;
    const char *name;
    CallStatus (*call)(const std::string &argument, std::string *answer);
} FUNCTIONS[] = {
    {"coreDb", "getLR",     getLR    }, // answers the switch's letter
    {"coreDb", "setLR",     setLR    }, // sets the switch to the letter
    {"thm",    "setSource", setSource}, // sets the number of the active time source
    {"thm",    "utcOffset", utcOffset}, // answers how far local time is ahead of UTC: +hhmm
    {"unit",   "idleLimit", idleLimit}, // answers the seconds after which a session counts as idle
    {"unit",   "uptime",    uptime   }, // answers the seconds since the start
    {"unit",   "echo",      echo     }, // answers the argument
};

// The containers here have no objects, so any object will do.
static CallStatus callFunction(const std::string &container, const std::string &name,
                               const std::string &argument, std::string *answer)
{
    CallStatus status = CALL_NO_CONTAINER;
    for (const auto &function : FUNCTIONS)
        if (container == function.container) {
            if (name == function.name)
                return function.call(argument, answer);
            status = CALL_NO_FUNCTION;
        }
    return status;
}

static std::string textOrEmpty(const char *text)
{
    return text == nullptr ? "" : text;
}

// ---- What the library calls --------------------------------------------------------------------

extern "C" {

// Writes the terminator only if there is room: a caller with room for one byte gets the first letter. That
// caller is the library, before a command or a set point. Under local control it refuses them without
// another call, so this is where the host hears of it.
int fnPutS(const char *container, const char *object, const char *function, const char *argument,
           char *answer, int size, int)
{
    std::string text;
    const int status =
        callFunction(textOrEmpty(container), textOrEmpty(function), textOrEmpty(argument), &text);
    if (status == CALL_DONE && size > 0)
        memcpy(answer, text.c_str(), std::min(static_cast<std::size_t>(size), text.size() + 1));
    if (size == 1 && g_webRemote == 1 && text != "R")
        sLogWarn("refused under local control: a command or set point, %s", byCaller().c_str());
    logDetail("call: %d: %s %s %s(%s)", status, inQuotes(textOrEmpty(container)).c_str(),
              inQuotes(textOrEmpty(object)).c_str(), inQuotes(textOrEmpty(function)).c_str(),
              inQuotes(textOrEmpty(argument)).c_str());
    return status;
}

int fnPut(const char *container, const char *object, const char *function, const char *argument)
{
    return fnPutS(container, object, function, argument, nullptr, 0, 0);
}

int baselineShowVer(const char **text)
{
    *text = "sim baseline 1.0.0";
    return 0;
}

// The library calls it while the host's security is off, and makes the session's id itself.
int appUserVerify(const char *user, const char *password, char *)
{
    const bool right = strcmp(user, USER) == 0 && strcmp(password, PASSWORD) == 0;
    const int level = right ? WS_LEVEL_REBOOT : REFUSED;
    sLogInfo("login: %d: %s", level, inQuotes(user).c_str());
    return level;
}

} // extern "C"
