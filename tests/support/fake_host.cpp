// tests/support/fake_host.cpp: a host under a test's control; nothing reboots, and waiting is short.
#include "support/fake_host.h"

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstring>
#include <soapH.h>
#include <thread>
#include <unistd.h>

static FakeHost *current = nullptr;

bool hostExists()
{
    return current != nullptr;
}

FakeHost &host()
{
    return *current;
}

// Returns what a gate finds in a request: address, endpoint, the texts that are there, and the cookies.
static std::string describe(struct soap *soap)
{
    std::string found = soap->host + std::string(" ") + soap->endpoint;
    const char *const token = soap->header == nullptr ? nullptr : soap->header->Authentication;
    for (const char *text : {token, soap->userid, soap->origin, soap->authrealm})
        found += text == nullptr ? "" : std::string(" ") + text;
    for (const struct soap_cookie *each = soap->cookies; each != nullptr; each = each->next) {
        const char *value = soap_cookie_value(soap, each->name, nullptr, nullptr);
        found += std::string(" ") + each->name + (each->modified != 0 ? " was modified: " : "=")
                 + (value == nullptr ? "-" : value);
    }
    return found;
}

static int gate(struct soap *soap, int level)
{
    host().askedLevel = level;
    if (host().gateRecords)
        host().record("gate(" + describe(soap) + ")");
    return host().verdict;
}

FakeHost::FakeHost()
{
    current = this;
    g_csEnabled = 0;
    g_highLevel = 200;
    g_webRemote = 0;
    g_webStrict = 0;
    g_webCpuMs = 2000;
    sessTimeOut = 900;
    removeSecurityHooks();
    pgf_parseAuth = gate;
}

FakeHost::~FakeHost()
{
    current = nullptr;
}

std::string FakeHost::callsText() const
{
    std::string text;
    for (const std::string &call : calls())
        text += (text.empty() ? "" : " ") + call;
    return text;
}

bool waitFor(const std::function<bool()> &condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (; !condition(); std::this_thread::sleep_for(std::chrono::milliseconds(2)))
        if (std::chrono::steady_clock::now() > end)
            return false;
    return true;
}

template <typename... Arguments>
static int recorded(const char *function, const Arguments &...arguments)
{
    const int status = host().status; // first: a test may end as soon as it sees the call
    [[maybe_unused]] const auto shown = [](auto argument) -> std::string {
        if constexpr (std::is_arithmetic_v<decltype(argument)>)
            return std::to_string(argument);
        else
            return argument == nullptr ? "null" : argument;
    };
    std::string text;
    ((text += "," + shown(arguments)), ...);
    host().record(std::string(function) + "(" + text.erase(0, 1) + ")");
    return status;
}

static int handOver(char ***list)
{
    const std::vector<std::string> &names = host().names;
    if (!names.empty())
        *list = static_cast<char **>(malloc(names.size() * sizeof(char *)));
    for (std::size_t i = 0; i < names.size(); ++i)
        (*list)[i] = names[i].empty() ? nullptr : strdup(names[i].c_str());
    return host().namesCount;
}

static int listed(const char *hook, const char *cookie, char ***names)
{
    recorded(hook, cookie);
    return handOver(names);
}

// A hook that records its own name.
#define HOOK(act, name) [](auto... arguments) { return act(name, arguments...); }

void installSecurityHooks()
{
    g_csEnabled = 1;
    pgf_parseAuth = gate;
    pgf_ws_getUsersList = HOOK(listed, "users");
    pgf_ws_getRolesList = HOOK(listed, "roles");
    pgf_ws_getLockedUsers = HOOK(listed, "locked");
    pgf_ws_getRolesListByUser = [](const char *cookie, const char *user, char ***names) {
        recorded("rolesOf", cookie, user);
        return handOver(names);
    };
    pgf_ws_setUserRoles = HOOK(recorded, "setRoles");
    pgf_ws_setUserPassword = HOOK(recorded, "setPassword");
    pgf_ws_setUserLock = HOOK(recorded, "setLock");
    pgf_ws_getUserLockState = [](const char *, const char *) { return recorded("lockState"); };
    pgf_getSessionStatus = [](const char *id) {
        recorded("sessionStatus", id);
        return host().sessionStatus;
    };
    pgf_closeSession = [](const char *id, struct soap *) { return recorded("closeSession", id); };
    pgf_appUserVerify = appUserVerify;
}

void removeSecurityHooks()
{
    const auto remove = [](auto &...hooks) { ((hooks = nullptr), ...); };
    remove(pgf_ws_getUsersList, pgf_ws_getRolesList, pgf_ws_getLockedUsers,
           pgf_ws_getRolesListByUser, pgf_ws_setUserRoles, pgf_ws_setUserPassword,
           pgf_ws_setUserLock, pgf_ws_getUserLockState, pgf_getAuthorization, pgf_getSessionStatus,
           pgf_closeSession, pgf_appUserVerify);
}

// As a host writes: with a terminator where there is room, and nothing when it is silent.
static void writeText(char *to, const std::string &text, std::size_t size)
{
    if (!host().silent)
        memcpy(to, text.c_str(), std::min(text.size() + 1, size));
}

// Defines a host function of one expression.
#define DEFINE(type, name, parameters, ...)                                                        \
    type name parameters                                                                           \
    {                                                                                              \
        return __VA_ARGS__;                                                                        \
    }

#define DEFINE_LOG(name, level)                                                                    \
    void name(const char *format, ...)                                                             \
    {                                                                                              \
        char line[1024];                                                                           \
        va_list arguments;                                                                         \
        va_start(arguments, format);                                                               \
        vsnprintf(line, sizeof line, format, arguments);                                           \
        va_end(arguments);                                                                         \
        host().write((level) + std::string(line));                                                 \
    }

extern "C" {

DEFINE_LOG(sLogInfo, "I ")
DEFINE_LOG(sLogWarn, "W ")
DEFINE_LOG(sLogErr, "E ")

using Text = const char *;

DEFINE(int, x_krunchData, (Text type, Text name, Text value), recorded(__func__, type, name, value))
DEFINE(int, x_krunchDataQuality, (Text type, Text name, Text value, Text flags),
       recorded(__func__, type, name, value, flags))
DEFINE(int, x_blockPoint, (Text type, Text name, int onOff), recorded(__func__, type, name, onOff))
DEFINE(int, fnPut, (Text container, Text object, Text function, Text argument),
       recorded(__func__, container, object, function, argument))
DEFINE(int, thmSetTime, (const struct timespec *time, int option),
       recorded(__func__, time->tv_sec, time->tv_nsec, option))
DEFINE(int, usrReboot, (void), recorded(__func__))
DEFINE(uint32_t, sysCnt1mlsg, (void), host().milliseconds)
DEFINE(int, thmIsInit, (void), host().timeModule)
DEFINE(int, thmGetActiveTimeSource, (void), host().timeSource)

int x_readData(Text type, Text name, Text format, char *text)
{
    const std::size_t mostThatAHostMayWrite = 312;
    recorded(__func__, type, name, format);
    if (strcmp(name, "silent") != 0)
        writeText(text, host().point == "@" ? name : host().point, mostThatAHostMayWrite);
    return strcmp(name, "bad") == 0 ? 1 : host().readResult;
}

int fnPutS(Text container, Text object, Text function, Text argument, char *answer, int size,
           int timeout)
{
    recorded(__func__, container, object, function, argument, size, timeout);
    writeText(answer, host().answer, static_cast<std::size_t>(size));
    return host().answerStatus;
}

int coreDbShowVer(const char **text)
{
    *text = host().coreDbVersion ? host().coreDbVersion->c_str() : nullptr;
    return 0;
}

int appUserVerify(Text user, Text password, char *sessionId)
{
    recorded(__func__, user, password, sessionId == nullptr ? "local" : "host");
    if (sessionId != nullptr)
        std::copy(host().sessionId.begin(), host().sessionId.end(), sessionId);
    return host().level;
}

int baselineShowVer(const char **text)
{
    if (!host().silent)
        *text = "baseline <&> 1";
    return 0;
}
}
