/* unit.c: what the library calls by name: log, points, clock, reboot. The unit has the point UPTIME, in
 * seconds, and the set point LIMIT. */
#define _GNU_SOURCE
#include <math.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>
#include <webServer.h>
#include <webServerHost.h>

enum { NO_POINT = 1, BAD_FORMAT = 2, NO_TYPE = 3, BAD_VALUE = 4 };
enum { NOT_HERE = -1 }; /* for what this unit does not have */
enum { TEXT_SIZE = 312 };

static double limit = 100;

/* ---- Log ------------------------------------------------------------------------------------- */

__attribute__((format(printf, 2, 0))) static void logLine(const char *level, const char *format,
                                                          va_list arguments)
{
    char line[512]; /* one write for the line: two threads log */
    vsnprintf(line, sizeof line, format, arguments);
    fprintf(stderr, "%s %s\n", level, line);
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

/* ---- Points ---------------------------------------------------------------------------------- */

/* Returns 0 if the unit has the point. */
static int findPoint(const char *type, const char *name)
{
    if (strcmp(type, "analog") == 0)
        return strcmp(name, "UPTIME") == 0 ? 0 : NO_POINT;
    if (strcmp(type, "setPoint") == 0)
        return strcmp(name, "LIMIT") == 0 ? 0 : NO_POINT;
    return NO_TYPE;
}

/* The format comes from the client: it only chooses one of our own. */
int x_readData(const char *type, const char *name, const char *format, char *text)
{
    const int status = findPoint(type, name);
    const uint32_t uptimeSeconds = sysCnt1mlsg() / 1000;
    const double value = strcmp(type, "analog") == 0 ? uptimeSeconds : limit;
    if (status != 0)
        return status;
    if (strcmp(format, "%d") == 0)
        snprintf(text, TEXT_SIZE, "%.0f|GOOD", value);
    else if (strcmp(format, "%g") == 0 || *format == '\0')
        snprintf(text, TEXT_SIZE, "%.9g|GOOD", value);
    else
        return BAD_FORMAT;
    return 0;
}

int x_krunchData(const char *type, const char *name, const char *value)
{
    const int status = findPoint(type, name);
    char *end = NULL;
    const double number = strtod(value, &end);
    if (status != 0)
        return status;
    if (end == value || *end != '\0' || !isfinite(number))
        return BAD_VALUE;
    if (strcmp(type, "setPoint") != 0)
        return NOT_HERE;
    limit = number;
    return 0;
}

int x_krunchDataQuality(const char *type, const char *name, const char *value, const char *flags)
{
    (void)type, (void)name, (void)value, (void)flags;
    return NOT_HERE;
}

int x_blockPoint(const char *type, const char *name, int onOff)
{
    (void)type, (void)name, (void)onOff;
    return NOT_HERE;
}

int coreDbShowVer(const char **text)
{
    *text = "coreDb: 10.00.00";
    return 0;
}

/* ---- What this unit does not have ------------------------------------------------------------ */

int fnPut(const char *container, const char *object, const char *function, const char *argument)
{
    (void)container, (void)object, (void)function, (void)argument;
    return NOT_HERE;
}

int fnPutS(const char *container, const char *object, const char *function, const char *argument,
           char *answer, int size, int timeout)
{
    (void)container, (void)object, (void)function, (void)argument;
    (void)answer, (void)size, (void)timeout;
    return NOT_HERE;
}

int thmSetTime(const struct timespec *time, int option)
{
    (void)time, (void)option;
    return NOT_HERE;
}

int appUserVerify(const char *user, const char *password, char *sessionId)
{
    (void)user, (void)password, (void)sessionId;
    return NOT_HERE; /* the library calls the hook instead */
}

/* ---- Clock, version, reboot ------------------------------------------------------------------ */

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
    *text = "secure host 1.0";
    return 0;
}

uint32_t sysCnt1mlsg(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (uint32_t)now.tv_sec * 1000u + (uint32_t)now.tv_nsec / 1000000u;
}

/* The client gets its answer only after this returns. Here the host ends; a unit would restart. */
int usrReboot(void)
{
    return kill(getpid(), SIGTERM);
}

/* The library calls these two when it cannot listen. On a unit the system's functions restart it; on a
 * PC they must not run. They are marked WS_EXPORT because hidden ones would not replace the system's. */
WS_EXPORT void sync(void) {}

WS_EXPORT int reboot(int command)
{
    (void)command;
    fprintf(stderr, "secure_host: cannot listen: is the port in use?\n");
    _exit(EXIT_FAILURE);
}
