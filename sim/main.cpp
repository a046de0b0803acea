// sim/main.cpp: the life of the reference unit: start, serve, and stop or restart on a signal.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <initializer_list>
#include <string>
#include <sys/prctl.h>
#include <unistd.h>

#include "mnt.h"
#include "options.h"
#include "points.h"
#include "port.h"
#include "reboot.h"
#include "require.h"
#include "security/hooks.h"
#include "unit.h"
#include "webServer.h"
#include "webServerHost.h"

static const char *const POINT_LIST = "/mnt/flash/cfgFiles/points.xml";

static const struct timespec NO_TIME = {0, 0};
static const struct timespec START_POLL = {0, 5000000}; // 5 ms

// A request can stall for a minute before the library gives up on it; one attempt takes 10 s.
static const int CLOSE_ATTEMPTS_BEFORE_RESTART = 7;
static const unsigned int FIRST_INHERITABLE_DESCRIPTOR = 3; // after standard input, output, error

static sigset_t setOf(std::initializer_list<int> signals)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int number : signals)
        sigaddset(&set, number);
    return set;
}

// Returns one of the signals, or -1 when the time is over. With a null timeout, waits without a limit.
static int waitFor(std::initializer_list<int> signals, const struct timespec *timeout)
{
    const sigset_t set = setOf(signals);
    return sigtimedwait(&set, nullptr, timeout);
}

static void prepareUnit(const Options &options)
{
    claimMnt();
    requirePort(options.address, options.port);
    openMnt();
    const std::vector<Point> points = readPoints(options.points);
    if (options.hostSecurity)
        openSecurity();
    try {
        writePointList(POINT_LIST, points);
    } catch (const std::exception &error) { // only the pages need the list
        sLogWarn("unit: %s", error.what());
    }
    startUnit(points, options.coreDbVersion);
}

static void serve()
{
    require(webServer_Web_Start() != -1, "cannot start the service thread");
    while (__atomic_load_n(&g_wsRunningSocket, __ATOMIC_ACQUIRE) != 1)
        require(waitFor({BIND_FAILED_SIGNAL}, &START_POLL) != BIND_FAILED_SIGNAL,
                "cannot listen on " + std::string(g_serverAddr) + ':'
                    + std::to_string(g_serverPort));
}

static void printBanner()
{
    const char *header = g_csEnabled == 0 ? ""
                                          : "<SOAP-ENV:Header><Authentication>viewer:viewer"
                                            "</Authentication></SOAP-ENV:Header>";
    char *version = nullptr;
    webServerShowVer(&version); // ends in a line feed
    printf("%sUnit ready: http://%s:%d/\n"
           "curl -sS -H 'Content-Type: text/xml; charset=utf-8' -H 'SOAPAction: \"\"' -d '"
           "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\""
           " xmlns:ns=\"urn:soapServ\">%s<SOAP-ENV:Body><ns:coreDbReadData>"
           "<inputType>analog</inputType><inputName>FDR1_IA</inputName>"
           "<inputFormat>%%g</inputFormat></ns:coreDbReadData></SOAP-ENV:Body>"
           "</SOAP-ENV:Envelope>' http://%s:%d/\n",
           version, g_serverAddr, g_serverPort, header, g_serverAddr, g_serverPort);
    fflush(stdout);
}

// Uses _exit(): the service thread still runs, and exit() would clean up what it uses.
[[noreturn]] static void abandonRequest()
{
    sLogWarn("unit: stopped while a request was still being served");
    _exit(EXIT_SUCCESS);
}

[[noreturn]] static void stop()
{
    if (ws_soap_close() != 0)
        abandonRequest();
    exit(EXIT_SUCCESS);
}

[[noreturn]] static void restart(char **argv)
{
    sLogInfo("unit: restarting, as a client asked");
    for (int attempt = 1; ws_soap_close() != 0; ++attempt) {
        if (waitFor({SIGINT, SIGTERM}, &NO_TIME) != -1)
            abandonRequest();
        if (attempt == CLOSE_ATTEMPTS_BEFORE_RESTART) {
            sLogWarn("unit: restarting while a request is still being served");
            break;
        }
    }
    // A descriptor that stays open would keep the port, or a client waiting for ever.
    close_range(FIRST_INHERITABLE_DESCRIPTOR, ~0U, CLOSE_RANGE_CLOEXEC);
    waitFor({RESTART_SIGNAL}, &NO_TIME); // one restart is enough for two requests
    // Across execv() blocked signals stay blocked, and pending ones stay pending. SIM_PROGRAM is the script
    // that starts an emulated unit.
    const char *starter = getenv("SIM_PROGRAM");
    execv(starter == nullptr ? "/proc/self/exe" : starter, argv);
    sLogErr("unit: cannot restart: %s", strerror(errno));
    _exit(EXIT_FAILURE);
}

int main(int argc, char **argv)
{
    // Every thread inherits this mask, so that only this one takes the signals.
    const sigset_t signals = setOf({SIGINT, SIGTERM, RESTART_SIGNAL, BIND_FAILED_SIGNAL});
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, sigpipe_handle);
    prctl(PR_SET_NAME, "sim"); // after a restart the name would be "exe"

    try {
        prepareUnit(readOptions(argc, argv));
        serve();
    } catch (const std::exception &error) {
        fprintf(stderr, "sim: %s\n", error.what());
        _exit(EXIT_FAILURE);
    }
    printBanner();
    for (;;) {
        const int received = waitFor({SIGINT, SIGTERM, RESTART_SIGNAL}, nullptr);
        if (received == RESTART_SIGNAL)
            restart(argv);
        else if (received != -1)
            stop();
    }
}
