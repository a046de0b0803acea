// sim/main.cpp: the life of the reference unit: start, serve, and stop or restart on a signal.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/prctl.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "host_functions.h"
#include "options.h"
#include "points_file.h"
#include "reboot.h"
#include "security/security.h"
#include "state_folder.h"
#include "unit.h"
#include "webServer.h"
#include "webServerHost.h"

// Of the unit; see openStateFolder.
static const char *const SECURITY_FOLDER = "/mnt/flash/security";
static const char *const POINT_LIST = "/mnt/flash/cfgFiles/points.xml";

static const long START_POLL_NANOSECONDS = 5000000;

// A request can stall for a minute before the library gives up on it; one attempt takes 10 s.
static const int CLOSE_ATTEMPTS_BEFORE_RESTART = 7;
static const int FIRST_INHERITABLE_DESCRIPTOR = 3; // after standard input, output and error
static const int DESCRIPTORS_TO_CLOSE = 1024;

static sigset_t signalsToWaitFor()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, WAKE_SIGNAL);
    return signals;
}

static bool stopIsPending()
{
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    return sigismember(&pending, SIGINT) == 1 || sigismember(&pending, SIGTERM) == 1;
}

// Returns false if the library wanted to reboot the unit because it could not listen.
static bool waitUntilServing()
{
    const struct timespec pause = {0, START_POLL_NANOSECONDS};
    while (__atomic_load_n(&g_wsRunningSocket, __ATOMIC_ACQUIRE) != 1) {
        if (bindFailed())
            return false;
        nanosleep(&pause, nullptr);
    }
    return true;
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

// Ends the program without the clean-up of exit(): the service thread is still at work.
[[noreturn]] static void leave(int status)
{
    fflush(stdout);
    _exit(status);
}

[[noreturn]] static void leaveRequestBehind()
{
    sLogWarn("unit: left while a request was still being served");
    leave(EXIT_SUCCESS);
}

[[noreturn]] static void stop()
{
    if (ws_soap_close() != 0)
        leaveRequestBehind();
    exit(EXIT_SUCCESS);
}

// What is still open would stay open after exec: the new program could not bind its port, and a
// client would wait for ever.
static void closeOnExec()
{
    for (int descriptor = FIRST_INHERITABLE_DESCRIPTOR; descriptor < DESCRIPTORS_TO_CLOSE;
         ++descriptor)
        fcntl(descriptor, F_SETFD, FD_CLOEXEC); // fails for most of them: not open
}

[[noreturn]] static void restart(char **argv)
{
    sLogInfo("unit: restarting, as a client asked");
    int attempts = 1;
    while (ws_soap_close() != 0) {
        if (stopIsPending())
            leaveRequestBehind();
        if (attempts == CLOSE_ATTEMPTS_BEFORE_RESTART) {
            sLogWarn("unit: restarting while a request is still being served");
            break;
        }
        ++attempts;
    }
    closeOnExec();
    fflush(stdout);
    // The blocked signals stay blocked, and those that arrive meanwhile stay pending. An emulated
    // program is started by another one, which says so.
    const char *starter = getenv("SIM_PROGRAM");
    execv(starter == nullptr ? "/proc/self/exe" : starter, argv);
    sLogErr("unit: cannot restart: %s", strerror(errno));
    leave(EXIT_FAILURE);
}

// 0, or -1 after a message.
static int prepareUnit(const Options &options)
{
    std::string root;
    std::vector<Point> points;
    if (openStateFolder(options.state, &root) != 0 || readPoints(options.points, &points) != 0
        || (options.hostSecurity && openSecurity(root + SECURITY_FOLDER) != 0))
        return -1;
    writePointList(root + POINT_LIST, points);
    startUnit(std::move(points));
    setCoreDbVersion(options.coreDbVersion.c_str());
    return 0;
}

int main(int argc, char **argv)
{
    // Before there are threads, so that all of them inherit it and only this one gets the signals.
    const sigset_t signals = signalsToWaitFor();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, sigpipe_handle);
    prctl(PR_SET_NAME, "sim"); // after a restart it would be "exe"

    int status = EXIT_SUCCESS;
    Options options;
    if (!readOptions(argc, argv, &options, &status))
        return status;
    if (prepareUnit(options) != 0)
        return EXIT_FAILURE;

    if (webServer_Web_Start() == -1) {
        fprintf(stderr, "sim: cannot start the service thread\n");
        return EXIT_FAILURE;
    }
    if (!waitUntilServing()) {
        fprintf(stderr, "sim: cannot listen on %s:%d: is another unit running there?\n",
                g_serverAddr, g_serverPort);
        leave(EXIT_FAILURE);
    }
    printBanner();

    for (;;) {
        int received = 0;
        sigwait(&signals, &received);
        if (received != WAKE_SIGNAL)
            stop();
        if (rebootWished())
            restart(argv);
    }
}
