// tests/support/fake_host.cpp: a host under a test's control; nothing reboots, and waiting is short.
#include "support/fake_host.h"

#include <chrono>
#include <cstdarg>
#include <cstring>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

static FakeHost *current = nullptr;

FakeHost &host()
{
    return *current;
}

static int gate(struct soap *, int level)
{
    host().askedLevel = level;
    return host().verdict;
}

FakeHost::FakeHost()
{
    current = this;
    g_csEnabled = 0;
    g_highLevel = 200;
    g_webRemote = 0;
    pgf_parseAuth = gate;
}

FakeHost::~FakeHost()
{
    current = nullptr;
}

std::vector<std::string> FakeHost::calls() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
}

std::string FakeHost::log() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return log_;
}

void FakeHost::forgetCalls()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string>().swap(calls_);
}

void FakeHost::record(const std::string &call)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    calls_.push_back(call);
}

void FakeHost::write(char level, const std::string &line)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    log_ += std::string(1, level) + " " + line + "\n";
}

bool waitFor(const std::function<bool()> &condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

static std::string call(const char *function, std::initializer_list<const char *> arguments)
{
    std::string text;
    for (const char *argument : arguments)
        text += std::string(",") + (argument == nullptr ? "null" : argument);
    return std::string(function) + "(" + text.erase(0, 1) + ")";
}

static int recorded(const char *function, std::initializer_list<const char *> arguments)
{
    const int status = host().status; // first: a test may end as soon as it sees the call
    host().record(call(function, arguments));
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

void installSecurityHooks()
{
    g_csEnabled = 1;
    const auto list = [](const char *cookie, char ***names) {
        recorded("list", {cookie});
        return handOver(names);
    };
    pgf_ws_getUsersList = list;
    pgf_ws_getRolesList = list;
    pgf_ws_getLockedUsers = list;
    pgf_ws_getRolesListByUser = [](const char *cookie, const char *user, char ***names) {
        recorded("listByUser", {cookie, user});
        return handOver(names);
    };
    const auto set = [](const char *cookie, const char *user, const char *value) {
        return recorded("set", {cookie, user, value});
    };
    pgf_ws_setUserRoles = set;
    pgf_ws_setUserPassword = set;
    pgf_ws_setUserLock = [](const char *cookie, const char *user, int lock) {
        return recorded("lock", {cookie, user, std::to_string(lock).c_str()});
    };
    pgf_ws_getUserLockState = [](const char *, const char *) { return recorded("lockState", {}); };
}

static void log(char level, const char *format, va_list arguments)
{
    char line[1024];
    vsnprintf(line, sizeof line, format, arguments);
    host().write(level, line);
}

extern "C" {

#define DEFINE_LOG(name, level)                                                                    \
    void name(const char *format, ...)                                                             \
    {                                                                                              \
        va_list arguments;                                                                         \
        va_start(arguments, format);                                                               \
        log(level, format, arguments);                                                             \
        va_end(arguments);                                                                         \
    }
DEFINE_LOG(sLogInfo, 'I')
DEFINE_LOG(sLogWarn, 'W')
DEFINE_LOG(sLogErr, 'E')

int x_readData(const char *type, const char *name, const char *format, char *text)
{
    recorded(__func__, {type, name, format});
    return host().read(name, text);
}

int x_krunchData(const char *type, const char *name, const char *value)
{
    return recorded(__func__, {type, name, value});
}

int x_krunchDataQuality(const char *type, const char *name, const char *value, const char *flags)
{
    return recorded(__func__, {type, name, value, flags});
}

int x_blockPoint(const char *type, const char *name, int onOff)
{
    return recorded(__func__, {type, name, std::to_string(onOff).c_str()});
}

int coreDbShowVer(const char **text)
{
    *text = host().coreDbVersion;
    return 0;
}

int fnPut(const char *container, const char *object, const char *function, const char *argument)
{
    return recorded(__func__, {container, object, function, argument});
}

int fnPutS(const char *container, const char *object, const char *function, const char *argument,
           char *answer, int size, int timeout)
{
    recorded(__func__, {container, object, function, argument, std::to_string(size).c_str(),
                        std::to_string(timeout).c_str()});
    memcpy(answer, host().answer.data(),
           std::min(host().answer.size(), static_cast<std::size_t>(size)));
    return host().answerStatus;
}

int thmSetTime(const struct timespec *time, int option)
{
    return recorded(__func__,
                    {std::to_string(time->tv_sec).c_str(), std::to_string(time->tv_nsec).c_str(),
                     std::to_string(option).c_str()});
}

int thmIsInit(void)
{
    return host().timeModule;
}

int thmGetActiveTimeSource(void)
{
    return host().timeSource;
}

int baselineShowVer(const char **text)
{
    *text = host().baseline;
    return 0;
}

int usrReboot(void)
{
    return recorded(__func__, {});
}

int appUserVerify(const char *user, const char *password, char *)
{
    return recorded(__func__, {user, password});
}

// The platform calls that a test must not let through, or cannot wait for.

int reboot(int command)
{
    char text[16];
    snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(command));
    recorded(__func__, {text});
    return -1;
}

void sync(void)
{
    recorded(__func__, {});
}

unsigned int sleep(unsigned int seconds)
{
    recorded(__func__, {std::to_string(seconds).c_str()});
    usleep(50000); // long enough for an idle service thread to end
    return 0;
}

int clock_gettime(clockid_t clock, struct timespec *time)
{
    if (clock != CLOCK_REALTIME || current == nullptr || host().now == 0)
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    *time = {host().now, 0};
    return 0;
}
}
