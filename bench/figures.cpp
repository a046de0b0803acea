// bench/figures.cpp: measures the stack, memory and allocations that the service needs per request.
//
//   figures PORT REQUEST_FOLDER      with WEB_DIR and CONFIG_DIR in the environment
//
// Exit status: 0 within budget, 1 over budget, 2 a request got a wrong answer.
// scripts/figures runs it.
#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <malloc.h>
#include <pthread.h>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "host.h"
#include "requests.h"
#include "webServer.h"

static const std::size_t REQUESTS = 10000;
static const std::size_t MOST_KINDS = 100; // marks for the rest of the last round
static const int WARM_UP_ROUNDS = 20;      // from then on the allocator asks the system for no more
static const int RATE_REQUESTS = 5000;
static const int CLIENT_TIMEOUT_SECONDS = 10;
static const std::size_t PAGE_BYTES = 4096;
static const unsigned SETTLE_MICROSECONDS = 50000; // for the service to forget a request
// Twice the largest request, once as it has arrived and once as gSOAP holds it, and the headers that
// gSOAP puts between the blocks of a chunked form.
static const std::size_t LARGEST_PEAK_BYTES = std::size_t{34} * 1024 * 1024;
static const unsigned char PAINT = 0xA5;
static const std::size_t OWN_FRAMES = 1024; // accept4() below must not paint its own frame

// ---- What the service thread uses ---------------------------------------------------------------

struct Mark {
    std::size_t calls = 0, bytes = 0; // allocations by the service thread since its first accept4()
    std::size_t inUse = 0;            // bytes of these that are not freed
    std::size_t peak = 0;             // the most of that since the last mark
    std::size_t held = 0;             // bytes that the process's allocator has from the system
    std::size_t stack = 0; // deepest use since the last mark, with the C library's part at its top
};

static unsigned char *stack = nullptr;
static std::size_t stackBytes = 0;
static thread_local bool serving = false;
static Mark now;                // service thread only
static std::vector<Mark> marks; // sized before the start, so that the marks do not grow the process
static std::size_t marked = 0;

static void *counted(void *block, std::size_t size)
{
    if (serving && block != nullptr) {
        ++now.calls;
        now.bytes += size;
        now.inUse += malloc_usable_size(block);
        now.peak = std::max(now.peak, now.inUse);
    }
    return block;
}

static void forget(void *block)
{
    if (serving)
        now.inUse -= malloc_usable_size(block);
}

static bool mustFail()
{
    return false;
}

#include "allocator.h"

extern "C" {

// Gives the service thread a painted stack of exactly the size that it asks for, and puts a guard
// page below it.
WS_EXPORT int pthread_create(pthread_t *thread, const pthread_attr_t *wanted, void *(*run)(void *),
                             void *argument) noexcept
{
    pthread_attr_t attributes = *wanted;
    pthread_attr_getstacksize(wanted, &stackBytes);
    const std::size_t pages = (stackBytes + PAGE_BYTES - 1) / PAGE_BYTES;
    void *memory = mmap(nullptr, (pages + 1) * PAGE_BYTES, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED || mprotect(memory, PAGE_BYTES, PROT_NONE) != 0)
        return EAGAIN;
    stack = static_cast<unsigned char *>(memory) + PAGE_BYTES;
    memset(stack, PAINT, stackBytes);
    pthread_attr_setstack(&attributes, stack, stackBytes);
    const auto create =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return create(thread, &attributes, run, argument);
}

// The service calls this when a client has come and everything of the last request has been released.
// Each call sets a mark.
WS_EXPORT int accept4(int listener, struct sockaddr *address, socklen_t *size, int flags)
{
    serving = true;
    if (marked < marks.size()) {
        std::size_t untouched = 0;
        while (stack[untouched] == PAINT)
            ++untouched;
        now.stack = stackBytes - untouched;
        const struct mallinfo2 heap = mallinfo2();
        now.held = heap.arena + heap.hblkhd;
        marks[marked++] = now;
        now.peak = now.inUse;
        auto *const top = static_cast<unsigned char *>(__builtin_frame_address(0)) - OWN_FRAMES;
        for (volatile unsigned char *byte = stack + untouched; byte < top; ++byte)
            *byte = PAINT; // not memset(), whose frame would be painted
    }
    static const auto accept = reinterpret_cast<decltype(&accept4)>(dlsym(RTLD_NEXT, "accept4"));
    return accept(listener, address, size, flags);
}

} // extern "C"

// ---- The client ---------------------------------------------------------------------------------

static sockaddr_in server = {};

static std::string exchange(const std::string &request)
{
    std::string reply;
    const int client = socket(AF_INET, SOCK_STREAM, 0);
    const timeval patience = {CLIENT_TIMEOUT_SECONDS, 0};
    setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (connect(client, reinterpret_cast<const sockaddr *>(&server), sizeof server) != 0)
        perror("connect");
    for (std::size_t sent = 0; sent < request.size();) {
        const ssize_t part =
            send(client, request.data() + sent, request.size() - sent, MSG_NOSIGNAL);
        if (part <= 0)
            break;
        sent += static_cast<std::size_t>(part);
    }
    char part[4096];
    ssize_t length;
    while ((length = recv(client, part, sizeof part, 0)) > 0)
        reply.append(part, static_cast<std::size_t>(length));
    if (length != 0)
        reply += std::string("(") + strerror(errno) + ")"; // an error is not "no reply"
    close(client);
    return reply;
}

static bool isAnswered(const Exchange &kind)
{
    setVerdict(kind.verdict);
    const std::string reply = exchange(kind.request);
    if (kind.expected.empty() ? reply.empty() : reply.find(kind.expected) != std::string::npos)
        return true;
    fprintf(stderr, "figures: %s: no \"%s\" in the reply:\n%.600s\n", kind.name.c_str(),
            kind.expected.c_str(), reply.c_str());
    return false;
}

static double singleReadsPerSecond(const Exchange &read)
{
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    for (int i = 0; i < RATE_REQUESTS; ++i)
        exchange(read.request);
    return RATE_REQUESTS / std::chrono::duration<double>(Clock::now() - begin).count();
}

// Returns a line of /proc/PID/status, in KiB, of the service's process, which is the parent.
static long serviceKib(const std::string &name)
{
    std::ifstream status("/proc/" + std::to_string(getppid()) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.compare(0, name.size(), name) == 0)
            return atol(line.c_str() + name.size());
    return -1;
}

// Prints what the request adds to the resident memory of the service, at its peak and afterwards.
static bool isLargestAnswered(const Exchange &kind)
{
    std::ofstream("/proc/" + std::to_string(getppid()) + "/clear_refs") << 5; // resets VmHWM
    const long before = serviceKib("VmRSS:");
    if (!isAnswered(kind))
        return false;
    usleep(SETTLE_MICROSECONDS);
    printf("resident, %-24s %12ld %12ld KiB\n", kind.name.c_str(), serviceKib("VmHWM:") - before,
           serviceKib("VmRSS:") - before);
    return true;
}

// Runs in another process, so that its memory does not count.
static int runClient(const std::vector<Exchange> &kinds, std::size_t rounds,
                     const std::vector<Exchange> &largest)
{
    for (std::size_t round = 0; round < rounds; ++round)
        for (const Exchange &kind : kinds)
            if (!isAnswered(kind))
                return 2;
    for (const Exchange &kind : largest)
        if (!isLargestAnswered(kind))
            return 2;
    // The first of these reads also makes the service mark the end of the last request above.
    printf("single reads per second: %.0f\n", singleReadsPerSecond(kinds[0]));
    fflush(stdout);
    return 0;
}

// ---- The figures --------------------------------------------------------------------------------

static std::size_t roundsOf(const std::vector<Exchange> &kinds)
{
    return (REQUESTS + kinds.size() - 1) / kinds.size();
}

static long residentKib()
{
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

static bool budget(const char *what, std::size_t value, std::size_t limit)
{
    printf("budget %-44s %8zu of %8zu  %s\n", what, value, limit,
           value <= limit ? "met" : "BROKEN");
    return value <= limit;
}

// markOf(round, kind) is the mark before that request. The mark after a round's last request is the
// first mark of the next round.
static bool report(const std::vector<Exchange> &kinds, std::size_t rounds,
                   const std::vector<Exchange> &largest)
{
    if (marked <= rounds * kinds.size() + largest.size()) {
        printf("only %zu marks: not every request has been seen\n", marked);
        return false;
    }
    const auto markOf = [&](std::size_t round, std::size_t kind) -> const Mark & {
        return marks[round * kinds.size() + kind];
    };
    printf("%-34s %8s %8s %8s\n", "request", "stack", "allocs", "bytes");
    std::size_t deepest = marks[0].stack;
    printf("%-34s %8zu\n", "(start)", deepest);
    for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
        std::size_t depth = 0;
        for (std::size_t round = 0; round < rounds; ++round)
            depth = std::max(depth, markOf(round, kind + 1).stack);
        const Mark &before = markOf(rounds - 1, kind), &after = markOf(rounds - 1, kind + 1);
        printf("%-34s %8zu %8zu %8zu\n", kinds[kind].name.c_str(), depth,
               after.calls - before.calls, after.bytes - before.bytes);
        deepest = std::max(deepest, depth);
    }
    const Mark &first = markOf(1, 0), &warm = markOf(WARM_UP_ROUNDS, 0), &last = markOf(rounds, 0);
    printf("stack asked for %zu, deepest use %zu\n", stackBytes, deepest);
    printf("heap held from the system: idle %zu, after %zu requests %zu\n", marks[0].held,
           rounds * kinds.size(), last.held);
    printf(
        "heap in use by the service since its start: %zu after the first round, %zu at the end\n",
        first.inUse, last.inUse);
    printf("%-34s %12s %12s\n", "largest requests", "heap, peak", "held after");
    std::size_t peak = 0;
    for (std::size_t kind = 0; kind < largest.size(); ++kind) {
        const Mark &before = markOf(rounds, kind), &after = markOf(rounds, kind + 1);
        printf("%-34s %12zu %12zu\n", largest[kind].name.c_str(), after.peak - before.inUse,
               after.held);
        peak = std::max(peak, after.peak - before.inUse);
    }
    const bool peakMet = budget("heap of the largest requests", peak, LARGEST_PEAK_BYTES);
    const bool stackMet =
        budget("deepest stack, a quarter of what is reserved", deepest, stackBytes / 4);
    const bool useMet =
        budget("heap in use at the end, as after round one", last.inUse, first.inUse);
    return budget("heap held at the end, as after warm-up", last.held, warm.held) && stackMet
           && useMet && peakMet;
}

static void startService(const char *port)
{
    setenv("SERVER_PORT", port, 1);
    if (webServer_Web_Start() != 0)
        exit(2);
    while (__atomic_load_n(&g_wsRunningSocket, __ATOMIC_ACQUIRE) == 0)
        usleep(1000);
}

int main(int argc, char **argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: figures PORT REQUEST_FOLDER\n");
        return 2;
    }
    server.sin_family = AF_INET;
    server.sin_port = htons(static_cast<uint16_t>(atoi(argv[1])));
    server.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    installHost();

    int start[2];
    if (pipe(start) != 0)
        return 2;
    const pid_t client = fork();
    if (client == 0) {
        close(start[1]); // otherwise it would wait forever if the service cannot start
        char go;
        const std::vector<Exchange> kinds = makeExchanges(argv[2]);
        return read(start[0], &go, 1) == 1 ? runClient(kinds, roundsOf(kinds), makeLargest(argv[2]))
                                           : 2;
    }
    marks.resize(REQUESTS + MOST_KINDS);
    startService(argv[1]);
    const long idle = residentKib();
    int status = 0;
    if (write(start[1], "", 1) != 1 || waitpid(client, &status, 0) != client || status != 0)
        return 2;
    printf("resident memory of this process: idle %ld KiB, after all requests %ld KiB\n", idle,
           residentKib());
    const std::vector<Exchange> kinds = makeExchanges(argv[2]); // only their names are used here
    const bool met = report(kinds, roundsOf(kinds), makeLargest(argv[2]));
    fflush(stdout);
    return ws_soap_close() == 0 && met ? 0 : 1;
}
