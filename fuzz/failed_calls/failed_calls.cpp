// fuzz/failed_calls/failed_calls.cpp: what the service does when a call fails.
//
//   failed_calls SIM_FOLDER STEP
//
// Counts how often each kind of request makes each call of failing.cpp, and repeats the request for each of
// these times: with that one call failing, and with all from it on. The same for start and close. Takes every
// STEP-th of them only, but none is left out altogether. After each, an ordinary request must be answered
// exactly, and no memory or descriptor may have been lost. Prints how often each call failed, and whatever
// must not be. Exit status: 0, 1 when there was something to report, 2 when the driver itself failed.
#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include "failing.h"
#include "host.h"
#include "requests.h"
#include "support/client.h"
#include "support/private_machine.h"
#include "webServer.h"

static const int PORT = 21000;                     // of a loopback network without other programs
static const long SHORTAGE_MICROSECONDS = 300000;  // then calls that failed for good succeed again
static const long TIMEOUT_MICROSECONDS = 15000000; // longer than ws_soap_close() waits
static const unsigned POLL_MICROSECONDS = 50;
static const std::size_t LONG_TEXT_BYTES = 500000;
static const std::size_t LOG_BYTES = 200000; // gSOAP collects them in several blocks
static const char *const UPLOADED = "/mnt/flash/cfgFiles/site.xml";
static const char *const OLD_CONTENT = "old";
static const char *const SECOND_NAME = "/mnt/flash/second"; // of that file: so it is not replaced
static const char *const IN_PLACE = "upload in place";
static const char *const LONG_LISTING = "log listing, many files"; // which are read into memory
static const int MANY_FILES = 9;
static const std::string MEMORY_LEAK = "memory leak";
static const std::size_t KEPT_BY_KERNEL_BYTES = 65536; // of a reply; the service keeps the rest

// ---- The unit: a process that is started again when it has crashed ----------------------------------

static pid_t unit = -1;
static int unitStatus; // of the last one that has ended

static bool unitLives()
{
    if (unit == -1 || waitpid(unit, &unitStatus, WNOHANG) == unit)
        unit = -1;
    return unit != -1;
}

static void killUnit()
{
    if (unit != -1)
        kill(unit, SIGKILL);
}

[[noreturn]] static void fail(const std::string &what)
{
    perror(what.c_str());
    killUnit();
    exit(2);
}

static void setTimer(long microseconds)
{
    struct itimerval after = {};
    after.it_value = {microseconds / 1000000, microseconds % 1000000};
    setitimer(ITIMER_REAL, &after, nullptr);
}

// Ends a shortage that the service did not end by itself. A unit that hangs is killed, and looks as if it
// had crashed.
static void onTimer(int)
{
    if (control->first.exchange(0) == 0)
        killUnit();
    setTimer(TIMEOUT_MICROSECONDS);
}

// Counts only what the library does in the host's thread.
template <typename Function> static int counted(Function *function)
{
    serving = true;
    const int result = function();
    serving = false;
    return result;
}

// Returns false when the unit has ended instead.
static bool startUnit()
{
    control->rests = 0;
    control->close = false;
    unit = fork();
    if (unit == 0) {
        if (freopen("/dev/null", "w", stdout) == nullptr
            || freopen("/dev/null", "w", stderr) == nullptr
            || setvbuf(stderr, nullptr, _IONBF, 0) != 0 || counted(webServer_Web_Start) != 0)
            _exit(2);
        while (!control->close)
            usleep(POLL_MICROSECONDS);
        _exit(counted(ws_soap_close));
    }
    setTimer(SHORTAGE_MICROSECONDS);
    while (control->rests == 0 && unitLives())
        usleep(POLL_MICROSECONDS);
    setTimer(0);
    return unitLives();
}

// Returns all that comes back, after the service has forgotten the request.
static std::string ask(const std::string &request)
{
    if (!unitLives() && !startUnit())
        fail("the unit does not start");
    const unsigned long before = control->rests;
    setTimer(SHORTAGE_MICROSECONDS);
    std::string reply = talk(PORT, request);
    while (unitLives() && (control->rests == before || !control->resting))
        usleep(POLL_MICROSECONDS);
    setTimer(0);
    return reply;
}

// ---- The requests -----------------------------------------------------------------------------------

struct Kind : Exchange {
    bool loggedIn;     // a session exists when the request comes
    std::string usual; // the reply when there is memory
};

static std::vector<Kind> makeKinds(const std::string &folder)
{
    std::vector<Kind> kinds;
    bool loggedIn = false;
    const auto add = [&](const std::string &name, const std::string &request,
                         const std::string &expected, int verdict = WS_ALLOWED) {
        const Exchange exchange = {name, request, expected, verdict};
        kinds.push_back({exchange, loggedIn, ""});
    };
    for (const auto &[name, request, expected, verdict] : makeExchanges(folder)) {
        add(name, request, name == "configuration file" ? OLD_CONTENT : expected, verdict);
        if (name == "coreDbReadData" || name == "login, JSON" || name == "upload")
            add("chunked " + name, chunked(request), expected);
        if (name == "upload" || name == "log listing")
            add(name == "upload" ? IN_PLACE : LONG_LISTING, request, expected);
        loggedIn = name == "login, page" || (loggedIn && name != "logout");
    }
    const std::string text(LONG_TEXT_BYTES, 'x');
    const std::string read = contents(folder + "/coreDbReadData.xml");
    const std::string longText = replaced(read, "</inputName>", text + "</inputName>");
    const std::string invalid = replaced(longText, "analog", "other");
    const std::string attribute =
        replaced(read, "<inputType>", "<inputType other='" + text + "'>x");
    const std::string headers =
        "Cookie: a=1; SESSIONID=figures; $Path=/; b=\"2\"\r\nOrigin: http://unit\r\n"
        "Authorization: Basic dXNlcjpwYXNz\r\nReferer: http://unit/\r\n";
    const std::string done = ":coreDbReadDataResponse", refused = "Invalid parameters";
    add("long text", soap11(longText), done);
    add("long text, fault", soap11(invalid), refused);
    add("long text, fault, SOAP 1.2", soap12(invalid), refused);
    add("attribute, fault, SOAP 1.2", soap12(attribute), refused);
    add("other namespace", soap11(replaced(read, "urn:soapServ", "urn:other")), "not implemented");
    add("cookies, origin, user", soap11(read, headers), done);
    add("HEAD", "HEAD / HTTP/1.1\r\n\r\n", "HTTP/1.1 ");
    add("OPTIONS", "OPTIONS / HTTP/1.1\r\nOrigin: http://unit\r\n\r\n", "HTTP/1.1 ");
    add("PUT", "PUT / HTTP/1.1\r\nContent-Length: 0\r\n\r\n", "HTTP/1.1 ");
    return kinds;
}

// ---- The runs ---------------------------------------------------------------------------------------

// Brings the unit into the state that the request expects, with the allocator and tables at rest.
static void prepare(const Kind &kind, const std::vector<Kind> &kinds)
{
    setVerdict(WS_ALLOWED);
    for (const Kind &step : kinds)
        if (step.name == "login, JSON" || (!kind.loggedIn && step.name == "logout"))
            ask(step.request);
    std::ofstream(UPLOADED) << OLD_CONTENT;
    unlink(SECOND_NAME);
    if (kind.name == IN_PLACE && link(UPLOADED, SECOND_NAME) != 0)
        fail(SECOND_NAME);
    for (int i = 0; i < MANY_FILES; ++i) {
        const std::string log = "/mnt/flash/log/" + std::to_string(i) + ".log";
        if (kind.name == LONG_LISTING)
            std::ofstream(log) << i;
        else
            unlink(log.c_str());
    }
    setVerdict(kind.verdict);
}

// The text of a reply without the time in it.
static std::string timeless(const Kind &kind, const std::string &reply)
{
    return kind.name == "thmGetInfo" ? std::regex_replace(reply, std::regex("[0-9]"), "0") : reply;
}

static bool isWhole(const std::string &reply)
{
    const std::size_t length = reply.find("Content-Length: "), body = reply.find("\r\n\r\n");
    return length < body && body != std::string::npos
           && strtoul(reply.c_str() + length + strlen("Content-Length: "), nullptr, 10)
                  == reply.size() - body - 4;
}

// Whether a request during which the call failed got an answer that is documented.
static bool isDocumented(const Kind &kind, int call, const std::string &reply)
{
    const auto has = [](const std::string &text, const char *part) {
        return text.find(part) != std::string::npos;
    };
    const std::string &name = kind.name;
    const std::string failed = CALL_NAMES[call];
    const bool mayBeParked = kind.usual.size() > KEPT_BY_KERNEL_BYTES; // which needs memory
    const std::string file = contents(UPLOADED);
    if (has(name, "upload") && file != OLD_CONTENT && file.find("<site name") != 0)
        return false; // a file that is neither the old nor the new one
    // Nothing, the usual reply, or one that shows by its length that the end is missing.
    const bool isCutOff = !isWhole(reply) && kind.usual.compare(0, reply.size(), reply) == 0;
    if (reply.empty() || timeless(kind, reply) == timeless(kind, kind.usual)
        || ((call != MEMORY || mayBeParked) && isCutOff))
        return true;
    if (!isWhole(reply) && isWhole(kind.usual))
        return false;
    // A fault, a session that cannot be made or compared, a request in SOAP 1.2 whose namespace gSOAP cannot
    // keep, and which it then answers in SOAP 1.1, and texts and files of a list that are left out.
    return reply.find("HTTP/1.1 4") == 0 || reply.find("HTTP/1.1 5") == 0
           || has(reply, "/index.htm?u=is") || has(reply, "/index.htm?u=wa")
           || (has(name, "SOAP 1.2") && has(reply, "\"http://schemas.xmlsoap.org/soap/"))
           || ((name == "fnPutS" || name == "thmGetInfo") && has(reply, "Response></ns:"));
}

static long descriptors()
{
    const std::filesystem::directory_iterator open("/proc/" + std::to_string(unit) + "/fd");
    return std::distance(begin(open), end(open));
}

struct Failure {
    int call;
    unsigned long first; // number of the call that fails, from 1; 0: none
    bool allAfter;       // those after it fail as well
};
static const Failure NONE = {MEMORY, 0, false}; // counts only

static void failFrom(const Failure &failure)
{
    for (auto &count : control->counts)
        count = 0;
    control->call = failure.call;
    control->allAfter = failure.allAfter;
    control->first = failure.first;
}

// Returns what must not be, "" if nothing.
static std::string runOne(const Kind &kind, const std::vector<Kind> &kinds, const Failure &failure)
{
    prepare(kind, kinds);
    const std::size_t before = control->inUse;
    const long open = descriptors();
    failFrom(failure);
    const std::string reply = ask(kind.request);
    control->first = 0;
    if (!unitLives())
        return "crash, or no end of the reply";
    if (!isDocumented(kind, failure.call, reply))
        return "wrong: " + reply.substr(0, 4000) + "\n" + contents(UPLOADED);
    setVerdict(WS_ALLOWED);
    if (ask(kinds[0].request) != kinds[0].usual)
        return "the next client got no exact answer";
    prepare(kind, kinds);
    return control->inUse > before ? MEMORY_LEAK : descriptors() > open ? "descriptor leak" : "";
}

static unsigned long step, tried, faults;

// Runs every step-th of the calls that have been counted.
template <typename Run> static void runCalls(const std::string &name, Run run)
{
    static unsigned long turn = 0;
    unsigned long counts[CALL_COUNT];
    std::copy(std::begin(control->counts), std::end(control->counts), counts);
    for (int call = 0; call < CALL_COUNT; ++call)
        for (unsigned long i = 0; i < 2 * counts[call]; ++i) {
            if (turn++ % step != 0 && control->failed[call] != 0)
                continue;
            ++tried;
            const Failure failure = {call, i / 2 + 1, i % 2 != 0};
            std::string fault = run(failure);
            if (fault == MEMORY_LEAK) // or the C library keeps something once; a leak happens again
                fault = run(failure);
            if (fault.empty())
                continue;
            ++faults;
            printf("%s, %s %lu%s: %s\n", name.c_str(), CALL_NAMES[call], failure.first,
                   failure.allAfter ? " and all after it" : "", fault.c_str());
        }
}

static void runKind(Kind &kind, const std::vector<Kind> &kinds)
{
    for (int warmUp = 0; warmUp < 3; ++warmUp) {
        prepare(kind, kinds);
        failFrom(NONE);
        kind.usual = ask(kind.request);
        if (kind.usual.find(kind.expected) == std::string::npos)
            fail(kind.name + ": " + kind.usual.substr(0, 600));
    }
    runCalls(kind.name, [&](const Failure &failure) { return runOne(kind, kinds, failure); });
}

// Returns whether the unit ended by itself with one of these statuses.
static bool closeUnit(int most)
{
    control->close = true;
    setTimer(TIMEOUT_MICROSECONDS);
    while (unitLives())
        usleep(POLL_MICROSECONDS);
    setTimer(0);
    return WIFEXITED(unitStatus) && WEXITSTATUS(unitStatus) <= most;
}

// A unit that starts serves. Else it has said so, or has asked for a reboot, which ends this one.
static std::string runStart(const Kind &read, const Failure &failure)
{
    closeUnit(0); // the one before
    failFrom(failure);
    const bool started = startUnit();
    control->first = 0;
    if (!started)
        return WIFEXITED(unitStatus) && WEXITSTATUS(unitStatus) == 2 ? "" : "crash";
    if (ask(read.request) != read.usual)
        return "no exact answer";
    return closeUnit(0) ? "" : "not closed";
}

// When the close cannot reach the service thread, it says so: 1.
static std::string runClose(const Failure &failure)
{
    startUnit();
    failFrom(failure);
    const bool closed = closeUnit(CALL_NAMES[failure.call] == std::string("shutdown") ? 1 : 0);
    control->first = 0;
    return closed ? "" : "not closed";
}

int main(int argc, char **argv)
{
    if (argc != 3 || atoi(argv[2]) < 1)
        return 2;
    const std::string sim = argv[1];
    if (!enterPrivateMachine())
        fail("no /mnt and no loopback network of the program's own");
    for (const char *folder : {"/mnt/flash", "/mnt/flash/log", "/mnt/flash/cfgFiles"})
        mkdir(folder, 0755);
    std::ofstream("/mnt/flash/log/a.log") << std::string(LOG_BYTES, 'a');
    setenv("WEB_DIR", (sim + "/www").c_str(), 1);
    setenv("SERVER_PORT", std::to_string(PORT).c_str(), 1);
    setlinebuf(stdout);
    signal(SIGALRM, onTimer);

    void *memory =
        mmap(nullptr, sizeof *control, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        fail("mmap");
    control = new (memory) Control{};
    installHost();
    step = strtoul(argv[2], nullptr, 10);
    std::vector<Kind> kinds = makeKinds(sim + "/requests");
    for (Kind &kind : kinds)
        runKind(kind, kinds);

    closeUnit(0);
    failFrom(NONE);
    startUnit();
    runCalls("start", [&](const Failure &failure) { return runStart(kinds[0], failure); });
    startUnit();
    failFrom(NONE);
    closeUnit(0);
    runCalls("close", runClose);
    killUnit();

    for (int call = 0; call < CALL_COUNT; ++call) {
        printf("%-16s failed %6lu times\n", CALL_NAMES[call], control->failed[call].load());
        faults += control->failed[call] == 0 ? 1 : 0; // the library no longer makes it
    }
    printf("%lu runs\n", tried);
    return faults == 0 ? 0 : 1;
}
