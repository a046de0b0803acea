// bench/host.cpp: the smallest host that answers every request. It uses little stack, which would count.
#include "host.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <sys/reboot.h>
#include <unistd.h>

#include "requests.h"
#include "webServer.h"
#include "webServerHost.h"

static const char POINT_TEXT[] = "123.4|G";

// Lies in memory that is shared with the client's process.
static std::atomic<int> *verdict = nullptr;

extern "C" {

WS_EXPORT int reboot(int) noexcept
{
    fprintf(stderr, "figures: cannot listen: is the port in use?\n");
    _exit(2);
}

WS_EXPORT void sync() noexcept {}

// clang-format off
void sLogInfo(const char *, ...) {}
void sLogWarn(const char *, ...) {}
void sLogErr(const char *, ...) {}
int x_krunchData(const char *, const char *, const char *) { return 0; }
int x_krunchDataQuality(const char *, const char *, const char *, const char *) { return 0; }
int x_blockPoint(const char *, const char *, int) { return 0; }
int coreDbShowVer(const char **text) { *text = "coreDb: 10.00.00"; return 0; }
int fnPut(const char *, const char *, const char *, const char *) { return 0; }
int thmSetTime(const struct timespec *, int) { return 0; }
int thmIsInit() { return 1; }
int thmGetActiveTimeSource() { return 0; }
int baselineShowVer(const char **text) { *text = "figures 1.0"; return 0; }
int usrReboot() { return 0; }
uint32_t sysCnt1mlsg() { return 0; }
int appUserVerify(const char *, const char *, char *) { return -1; }
// clang-format on

int x_readData(const char *, const char *, const char *, char *text)
{
    memcpy(text, POINT_TEXT, sizeof POINT_TEXT);
    return 0;
}

// Also answers the interlock's question, which has room for one letter: 'R', remote, lets commands
// pass.
int fnPutS(const char *, const char *, const char *, const char *, char *answer, int size, int)
{
    memset(answer, 'R', static_cast<std::size_t>(size));
    return 0;
}

} // extern "C"

static int gate(struct soap *, int)
{
    return *verdict;
}

static int verify(const char *, const char *password, char *sessionId)
{
    snprintf(sessionId, strlen(SESSION_ID) + 1, "%s", SESSION_ID);
    return strcmp(password, "admin") == 0 ? WS_LEVEL_REBOOT : -1;
}

static int listNames(const char *, char ***names)
{
    const int count = 2;
    hostAllocates = true;
    *names = static_cast<char **>(calloc(count, sizeof **names));
    for (int i = 0; i < count; ++i)
        (*names)[i] = strdup("operator");
    hostAllocates = false;
    return count;
}

void setVerdict(int next)
{
    *verdict = next;
}

void installHost()
{
    void *shared =
        mmap(nullptr, sizeof *verdict, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    verdict = new (shared) std::atomic<int>(WS_ALLOWED);
    g_csEnabled = 1;
    g_webRemote = 1;
    pgf_parseAuth = gate;
    pgf_appUserVerify = verify;
    pgf_getSessionStatus = [](const char *) { return 0; };
    pgf_closeSession = [](const char *, struct soap *) { return 0; };
    pgf_ws_getUsersList = pgf_ws_getRolesList = pgf_ws_getLockedUsers = listNames;
    pgf_ws_getRolesListByUser = [](const char *session, const char *, char ***names) {
        return listNames(session, names);
    };
    pgf_ws_setUserRoles =
        pgf_ws_setUserPassword = [](const char *, const char *, const char *) { return 0; };
    pgf_ws_setUserLock = [](const char *, const char *, int) { return 0; };
}
