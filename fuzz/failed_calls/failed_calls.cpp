// fuzz/failed_calls/failed_calls.cpp: what the service does when it gets no memory.
//
//   failed_calls SIM_FOLDER STEP
//
// Counts the allocations that each kind of request makes, and repeats the request once for every STEP-th
// of them: with that one failing, and with all from it on. After each, an ordinary request must be answered
// exactly, and no memory may have been lost. Prints a line per kind of request, and whatever must not be.
// Exit status: 0, 1 when there was something to report, 2 when the driver itself failed.
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <malloc.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host.h"
#include "requests.h"
#include "support/client.h"
#include "support/private_machine.h"
#include "webServer.h"

static const int PORT = 21000; // of a loopback network without other programs
static const unsigned REPLY_TIMEOUT_SECONDS = 10;
static const unsigned POLL_MICROSECONDS = 50;
static const std::size_t LONG_TEXT_BYTES = 500000;
static const std::size_t LOG_BYTES = 200000; // gSOAP collects them in several blocks
static const char *const UPLOADED = "/mnt/flash/cfgFiles/site.xml";
static const char *const OLD_CONTENT = "old";

// ---- The allocations --------------------------------------------------------------------------------

// Shared by the driver and the process with the service. The driver writes it while the service waits
// for a client.
struct Control {
    std::atomic<unsigned long> first; // number of the first allocation that fails, from 1; 0: none
    std::atomic<bool> allAfter;       // those after it fail as well
    std::atomic<unsigned long> count; // allocations since the driver set this to 0
    std::atomic<unsigned long> rests; // how often the service thread has begun to wait for a client
    std::atomic<std::size_t> inUse;   // bytes that the service thread has allocated and not freed
};

static Control *control = nullptr;        // null: nothing is counted and nothing fails
static thread_local bool serving = false; // this thread is the service's

static bool mustFail()
{
    if (!serving || hostAllocates) // what a host does without memory is its own affair
        return false;
    const unsigned long number = ++control->count, first = control->first;
    if (first == 0 || number < first || (number > first && !control->allAfter))
        return false;
    errno = ENOMEM;
    return true;
}

static void *counted(void *block, std::size_t)
{
    if (serving && block != nullptr)
        control->inUse += malloc_usable_size(block);
    return block;
}

static void forget(void *block)
{
    if (serving && block != nullptr)
        control->inUse -= malloc_usable_size(block);
}

#include "allocator.h"

extern "C" {

// Only the service thread calls it, and with the listening socket alone when all clients are gone.
WS_EXPORT int poll(struct pollfd *polled, nfds_t count, int milliseconds)
{
    serving = control != nullptr;
    // Through memory: the C library says that poll() reads nothing of them.
    const struct pollfd *volatile sockets = polled;
    nfds_t open = 0;
    for (nfds_t i = 0; i < count; ++i)
        open += sockets[i].fd >= 0 ? 1 : 0;
    if (serving && open == 1)
        ++control->rests;
    const struct timespec limit = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    return ppoll(polled, count, milliseconds < 0 ? nullptr : &limit, nullptr);
}

// What the shipped build calls in its place.
WS_EXPORT int __poll_chk(struct pollfd *polled, nfds_t count, int milliseconds, std::size_t)
{
    return poll(polled, count, milliseconds);
}

} // extern "C"

// ---- The unit: a process that is started again when it has crashed ----------------------------------

static pid_t unit = -1;

static bool unitLives()
{
    if (unit == -1 || waitpid(unit, nullptr, WNOHANG) == unit)
        unit = -1;
    return unit != -1;
}

static void killUnit(int = 0)
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

static void startUnit()
{
    control->rests = 0;
    control->first = 0;
    unit = fork();
    if (unit == 0) {
        if (freopen("/dev/null", "w", stdout) == nullptr || webServer_Web_Start() != 0)
            _exit(2);
        for (;;)
            pause();
    }
    while (control->rests == 0)
        if (!unitLives())
            fail("the unit does not start");
}

// Returns all that comes back, after the service has forgotten the request. A unit that hangs is killed,
// and looks as if it had crashed.
static std::string ask(const std::string &request)
{
    if (!unitLives())
        startUnit();
    const unsigned long before = control->rests;
    alarm(REPLY_TIMEOUT_SECONDS);
    std::string reply = talk(PORT, request);
    while (unitLives() && control->rests == before)
        usleep(POLL_MICROSECONDS);
    alarm(0);
    return reply;
}

// ---- The requests -----------------------------------------------------------------------------------

struct Kind {
    Exchange exchange;
    bool loggedIn;     // a session exists when the request comes
    std::string usual; // the reply when there is memory
};

static std::vector<Kind> makeKinds(const std::string &folder)
{
    std::vector<Kind> kinds;
    bool loggedIn = false;
    for (Exchange exchange : makeExchanges(folder)) {
        const std::string name = exchange.name;
        if (name == "configuration file")
            exchange.expected = OLD_CONTENT;
        kinds.push_back({exchange, loggedIn, ""});
        if (name == "coreDbReadData" || name == "login, JSON" || name == "upload") {
            exchange.name = "chunked " + name;
            exchange.request = chunked(exchange.request);
            kinds.push_back({exchange, loggedIn, ""});
        }
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
    for (const Exchange &exchange : std::initializer_list<Exchange>{
             {"long text",                  soap11(longText),     done,           WS_ALLOWED         },
             {"long text, fault",           soap11(invalid),      refused,        WS_ALLOWED         },
             {"long text, fault, SOAP 1.2", soap12(invalid),      refused,        WS_ALLOWED         },
             {"attribute, fault, SOAP 1.2", soap12(attribute),    refused,        WS_ALLOWED         },
             {"other namespace",            soap11(replaced(read, "urn:soapServ", "urn:other")),
              "not implemented", WS_ALLOWED},
             {"cookies, origin, user",                  soap11(read,                                      headers),                              done,                     WS_ALLOWED},
             {"HEAD",                        "HEAD / HTTP/1.1\r\n\r\n",                                  "HTTP/1.1 ",                   WS_ALLOWED            },
             {"OPTIONS",                 "OPTIONS / HTTP/1.1\r\nOrigin: http://unit\r\n\r\n","HTTP/1.1 ",
              WS_ALLOWED},
             {"PUT",                 "PUT / HTTP/1.1\r\nContent-Length: 0\r\n\r\n",                                         "HTTP/1.1 ",                                                       WS_ALLOWED                                                                                 }
    })
        kinds.push_back({exchange, false, ""});
    return kinds;
}

// ---- The runs ---------------------------------------------------------------------------------------

// Brings the unit into the state that the request expects, with the allocator and tables at rest.
static void prepare(const Kind &kind, const std::vector<Kind> &kinds)
{
    setVerdict(WS_ALLOWED);
    for (const Kind &step : kinds)
        if (step.exchange.name == "login, JSON"
            || (!kind.loggedIn && step.exchange.name == "logout"))
            ask(step.exchange.request);
    std::ofstream(UPLOADED) << OLD_CONTENT;
    setVerdict(kind.exchange.verdict);
}

// The text of a reply without the time in it.
static std::string timeless(const Kind &kind, std::string reply)
{
    if (kind.exchange.name == "thmGetInfo")
        for (char &character : reply)
            if (character >= '0' && character <= '9')
                character = '0';
    return reply;
}

static bool isWhole(const std::string &reply)
{
    const std::size_t length = reply.find("Content-Length: "), body = reply.find("\r\n\r\n");
    return length < body && body != std::string::npos
           && strtoul(reply.c_str() + length + strlen("Content-Length: "), nullptr, 10)
                  == reply.size() - body - 4;
}

// Whether a request during which an allocation failed got an answer that is documented.
static bool isDocumented(const Kind &kind, const std::string &reply)
{
    const auto has = [](const std::string &text, const char *part) {
        return text.find(part) != std::string::npos;
    };
    const std::string &name = kind.exchange.name;
    const std::string file = contents(UPLOADED);
    if (has(name, "upload") && file != OLD_CONTENT && file.find("<site name") != 0)
        return false; // a file that is neither the old nor the new one
    if (!reply.empty() && !isWhole(reply) && isWhole(kind.usual))
        return false;
    // Nothing, a fault, or the usual reply.
    if (reply.empty() || reply.find("HTTP/1.1 4") == 0 || reply.find("HTTP/1.1 5") == 0
        || timeless(kind, reply) == timeless(kind, kind.usual))
        return true;
    // A session that cannot be made or compared, a request in SOAP 1.2 whose namespace gSOAP cannot keep,
    // and which it then answers in SOAP 1.1, and texts that are left out.
    return has(reply, "/index.htm?u=is") || has(reply, "/index.htm?u=wa")
           || (has(name, "SOAP 1.2") && has(reply, "\"http://schemas.xmlsoap.org/soap/"))
           || ((name == "fnPutS" || name == "thmGetInfo") && has(reply, "Response></ns:"));
}

// Returns what must not be, "" if nothing.
static std::string runOne(const Kind &kind, const std::vector<Kind> &kinds, unsigned long first,
                          bool allAfter)
{
    prepare(kind, kinds);
    const std::size_t before = control->inUse;
    control->count = 0;
    control->allAfter = allAfter;
    control->first = first;
    const std::string reply = ask(kind.exchange.request);
    control->first = 0;
    if (!unitLives())
        return "crash, or no end of the reply";
    if (control->count < first)
        return "it was never made";
    if (!isDocumented(kind, reply))
        return "wrong: " + reply.substr(0, 4000) + "\n" + contents(UPLOADED);
    setVerdict(WS_ALLOWED);
    if (ask(kinds[0].exchange.request) != kinds[0].usual)
        return "the next client got no exact answer";
    prepare(kind, kinds);
    return control->inUse > before ? "leak" : "";
}

// Returns whether nothing happened that must not.
static bool runKind(Kind &kind, const std::vector<Kind> &kinds, unsigned long step)
{
    for (int warmUp = 0; warmUp < 3; ++warmUp) {
        prepare(kind, kinds);
        control->count = 0;
        kind.usual = ask(kind.exchange.request);
        if (kind.usual.find(kind.exchange.expected) == std::string::npos)
            fail(kind.exchange.name + ": " + kind.usual.substr(0, 600));
    }
    const unsigned long calls = control->count;
    printf("%-34s %5lu\n", kind.exchange.name.c_str(), calls);
    bool good = calls > 0;
    for (unsigned long first = 1; first <= calls; first += step)
        for (const bool allAfter : {false, true}) {
            const std::string fault = runOne(kind, kinds, first, allAfter);
            good = good && fault.empty();
            if (!fault.empty())
                printf("  allocation %lu%s: %s\n", first, allAfter ? " and all after it" : "",
                       fault.c_str());
        }
    return good;
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
    signal(SIGALRM, killUnit);

    void *memory =
        mmap(nullptr, sizeof *control, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        fail("mmap");
    control = new (memory) Control{};
    installHost();
    std::vector<Kind> kinds = makeKinds(sim + "/requests");
    bool good = true;
    for (Kind &kind : kinds)
        good = runKind(kind, kinds, strtoul(argv[2], nullptr, 10)) && good;
    killUnit();
    return good ? 0 : 1;
}
