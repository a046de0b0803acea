/* minimal_host.c: the smallest host that runs. It has one point, which everybody may read and
 * nobody may write.
 *
 *   minimal_host PORT     serves on the loopback address until it receives SIGINT or SIGTERM
 */
#define _GNU_SOURCE
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>
#include <webServer.h>
#include <webServerHost.h>

/* ---- What the library calls ------------------------------------------------------------------ */

__attribute__((format(printf, 2, 0))) static void logLine(const char *level, const char *format,
                                                          va_list arguments)
{
    fprintf(stderr, "%s ", level);
    vfprintf(stderr, format, arguments);
    fputc('\n', stderr);
}

#define LOG_FUNCTION(name, level)                                                                  \
    void name(const char *format, ...)                                                             \
    {                                                                                              \
        va_list arguments;                                                                         \
        va_start(arguments, format);                                                               \
        logLine(level, format, arguments);                                                         \
        va_end(arguments);                                                                         \
    }

LOG_FUNCTION(sLogInfo, "INFO ")
LOG_FUNCTION(sLogWarn, "WARN ")
LOG_FUNCTION(sLogErr, "ERROR")

int x_readData(const char *type, const char *name, const char *format, char *text)
{
    (void)format; /* never pass it to printf: it comes from the client */
    if (strcmp(type, "analog") != 0)
        return 3;
    if (strcmp(name, "UPTIME") != 0)
        return 1;
    sprintf(text, "%u", sysCnt1mlsg() / 1000);
    return 0;
}

/* The gate lets nobody write or reboot, and the hook for logins is null. So the functions below that only
 * return -1 are never called. */
int x_krunchData(const char *type, const char *name, const char *value)
{
    (void)type, (void)name, (void)value;
    return -1;
}

int x_krunchDataQuality(const char *type, const char *name, const char *value, const char *flags)
{
    (void)type, (void)name, (void)value, (void)flags;
    return -1;
}

int x_blockPoint(const char *type, const char *name, int onOff)
{
    (void)type, (void)name, (void)onOff;
    return -1;
}

int coreDbShowVer(const char **text)
{
    *text = "coreDb: 10.00.00";
    return 0;
}

int fnPut(const char *container, const char *object, const char *function, const char *argument)
{
    (void)container, (void)object, (void)function, (void)argument;
    return -1;
}

int fnPutS(const char *container, const char *object, const char *function, const char *argument,
           char *answer, int size, int timeout)
{
    (void)container, (void)object, (void)function, (void)argument;
    (void)answer, (void)size, (void)timeout;
    return -1;
}

int thmSetTime(const struct timespec *time, int option)
{
    (void)time, (void)option;
    return -1;
}

int thmIsInit(void)
{
    return 1;
}

int thmGetActiveTimeSource(void)
{
    return 0;
}

int baselineShowVer(const char **text)
{
    *text = "minimal host 1.0";
    return 0;
}

int usrReboot(void)
{
    return -1;
}

uint32_t sysCnt1mlsg(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (uint32_t)now.tv_sec * 1000u + (uint32_t)now.tv_nsec / 1000000u;
}

int appUserVerify(const char *user, const char *password, char *sessionId)
{
    (void)user, (void)password, (void)sessionId;
    return -1; /* nobody logs in */
}

/* The library calls these two when it cannot listen. On a unit the system's functions restart it; on
 * a PC they must not run. They are marked WS_EXPORT because hidden ones would not replace the
 * system's. */
WS_EXPORT void sync(void) {}

WS_EXPORT int reboot(int command)
{
    (void)command;
    fprintf(stderr, "minimal_host: cannot listen: is the port in use?\n");
    _exit(EXIT_FAILURE);
}

/* ---- Start and stop -------------------------------------------------------------------------- */

static int gate(struct soap *request, int level)
{
    const int knownButNotAllowed = 1;
    (void)request;
    return level <= WS_LEVEL_READ ? WS_ALLOWED : knownButNotAllowed;
}

int main(int argc, char **argv)
{
    sigset_t stop;
    int received;

    if (argc != 2) {
        fprintf(stderr, "usage: minimal_host PORT\n");
        return 2;
    }
    setenv("SERVER_PORT", argv[1], 1);

    /* Block the signals before the start, so that the service thread, which inherits the mask, does
     * not take them. */
    sigemptyset(&stop);
    sigaddset(&stop, SIGINT);
    sigaddset(&stop, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stop, NULL);
    /* NOLINTNEXTLINE(bugprone-signal-handler): the function is empty */
    signal(SIGPIPE, sigpipe_handle); /* for the host's own sockets; the library needs none */

    g_csEnabled = 1;
    pgf_parseAuth = gate;
    if (webServer_Web_Start() == -1)
        return EXIT_FAILURE;

    /* Wait for the bind: a service that has not bound its port yet must not be closed. If the bind
     * fails, this loop ends in reboot() above. */
    while (__atomic_load_n(&g_wsRunningSocket, __ATOMIC_ACQUIRE) != 1)
        usleep(5000);
    sigwait(&stop, &received);
    if (ws_soap_close() == 0)
        return EXIT_SUCCESS;
    fprintf(stderr, "minimal_host: left while a request was still being served\n");
    _exit(EXIT_FAILURE);
}
