// fuzz/clients.cpp: clients in the fuzzer's own thread. The service waits in poll() only, and there they act.
#include "clients.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <poll.h>
#include <pthread.h>
#include <stdsoap2.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "core/serve_loop.h"
#include "net/connections.h"
#include "support/cases.h"
#include "support/wire.h"
#include "webServer.h"

struct soap *const context = new struct soap;
static std::vector<Call *> calls;
static std::unique_ptr<Call> another; // ends the wait when the service has dropped all the others
static void *(*mainThread)(void *);   // of the service that has been started last
static int looksUntilClose = -1;      // of that service; negative: its host does not close it
static bool closed;                   // that service, by its host
static int failingAccepts, acceptError;

void must(bool condition, const char *what, const std::string &shown)
{
    if (condition)
        return;
    fprintf(stderr, "\n== %s:\n%s\n", what, shown.c_str());
    abort();
}

static void act(Call *call)
{
    if (call->socket == -1)
        return;
    const std::size_t most = std::min(call->bytes.size() - call->sent, call->piece);
    const ssize_t sent = send(call->socket, &call->bytes[call->sent], most, MSG_NOSIGNAL);
    call->sent += sent > 0 ? static_cast<std::size_t>(sent) : 0;
    if (call->sent == call->bytes.size() && call->hangsUp)
        shutdown(call->socket, SHUT_WR);
    char bytes[16384];
    ssize_t count;
    while ((count = recv(call->socket, bytes, std::min(sizeof bytes, call->piece), 0)) > 0) {
        call->reply.append(bytes, static_cast<std::size_t>(count));
        if (call->piece < sizeof bytes)
            return; // the rest comes at the next look
    }
    if (count == 0 || errno != EAGAIN) {
        close(call->socket);
        call->socket = -1;
    }
}

static bool allHaveEnded()
{
    return std::all_of(calls.begin(), calls.end(),
                       [](const Call *call) { return call->connected && call->socket == -1; });
}

extern "C" {

int poll(struct pollfd *polled, nfds_t count, int milliseconds)
{
    std::for_each(calls.begin(), calls.end(), act);
    if (looksUntilClose >= 0 && (looksUntilClose-- == 0 || allHaveEnded())) {
        looksUntilClose = -1;
        closed = true;
        ws_soap_close();
    }
    const struct timespec atOnce = {};
    int ready = ppoll(polled, count, &atOnce, nullptr);
    if (polled[count - 1].fd != -1 && !closed) {
        if (allHaveEnded()) {
            another = std::make_unique<Call>(Call{get("/")});
            calls.push_back(another.get());
        }
        polled[count - 1].revents = calls.back()->connected ? 0 : POLLIN;
        ready += calls.back()->connected ? 0 : 1;
    }
    if (ready == 0)
        skipTime(milliseconds);
    return ready;
}

int accept4(int, struct sockaddr *address, socklen_t *size, int)
{
    if (closed)
        return errno = EINVAL, -1;
    if (failingAccepts > 0 && failingAccepts-- > 0)
        return errno = acceptError, -1;
    const auto next =
        std::find_if(calls.begin(), calls.end(), [](auto *call) { return !call->connected; });
    int pair[2];
    if (next == calls.end() || socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair) != 0)
        return errno = EAGAIN, -1;
    // Of the service's replies in the kernel, so that it must keep some itself.
    const int bytes = 4096;
    syscall(SYS_setsockopt, pair[0], SOL_SOCKET, SO_SNDBUF, &bytes, sizeof bytes);
    struct sockaddr_in from = {};
    from.sin_family = AF_INET;
    from.sin_addr.s_addr = htonl(0x7F000000U + static_cast<uint32_t>((*next)->client));
    memcpy(address, &from, *size = std::min<socklen_t>(*size, sizeof from));
    (*next)->socket = pair[1];
    (*next)->connected = true;
    act(*next);
    return pair[0];
}

int setsockopt(int, int, int, const void *, socklen_t) noexcept // a pair of sockets is not TCP
{
    return 0;
}

int pthread_create(pthread_t *, const pthread_attr_t *, void *(*run)(void *), void *) noexcept
{
    mainThread = run;
    return 0;
}

int pthread_detach(pthread_t) noexcept
{
    return 0;
}

int usleep(useconds_t microseconds)
{
    skipTime(static_cast<int>(microseconds / 1000));
    return 0;
}

} // extern "C"

// There may be several: "100 Continue" first, and a page before the fault of getUserAuth.
static void mustBeResponses(const Call &call)
{
    const std::string name = "\r\nContent-Length: ";
    const bool slow = call.piece < 1000; // the service may have dropped it
    std::string rest = slow || call.bytes.find("HEAD") != std::string::npos ? "" : call.reply;
    while (!rest.empty()) {
        const std::size_t end = rest.find("\r\n\r\n"), length = rest.find(name);
        must(rest.rfind("HTTP/1.1 ", 0) == 0 && end != std::string::npos, "not HTTP", call.reply);
        const std::size_t size = length < end ? std::stoul(rest.substr(length + name.size())) : 0;
        must(size <= rest.size() - end - 4, "cut", call.reply);
        rest.erase(0, end + 4 + size);
    }
}

// Starts a service, and lets it serve until its host closes it.
static void serveUntilClosed(int looks)
{
    looksUntilClose = looks;
    host().forgetCalls();
    must(webServer_Web_Start() == 0, "no start");
    mainThread(nullptr);
    const bool rebooted = host().callsText().find("reboot") != std::string::npos;
    must(rebooted != closed, "closed, or rebooted");
    must(g_wsSocket == -1 && g_wsRunningSocket == 0, "it still runs");
    looksUntilClose = -1;
    closed = false;
    for (Call *call : calls)
        while (call->socket != -1)
            act(call);
    openConnections(context->master);
}

void exchange(std::vector<Call> *together, int looks)
{
    for (Call &call : *together)
        calls.push_back(&call);
    if (looks >= 0)
        serveUntilClosed(looks);
    else
        while (!allHaveEnded()) {
            serveConnection(context);
            awaitDepartures();
            std::for_each(calls.begin(), calls.end(), act);
        }
    std::vector<Call *>().swap(calls);
    another.reset();
    if (together->size() < 100) // some of a crowd must give way
        std::for_each(together->begin(), together->end(), mustBeResponses);
}

void failAccepts(int count, int error)
{
    failingAccepts = count;
    acceptError = error;
}

std::string exchange(Call call)
{
    std::vector<Call> alone = {std::move(call)};
    exchange(&alone);
    return alone[0].reply;
}

std::string get(const std::string &target, const std::string &headers)
{
    return "GET " + target + " HTTP/1.1\r\n" + headers + "\r\n";
}

std::string post(const std::string &body, const std::string &headers, const std::string &target,
                 const std::string &type)
{
    return httpPost("Content-Type: " + type + "\r\n" + headers, body, target);
}

std::string command(const std::string &name, const std::string &user, const std::string &headers)
{
    return post("cgiMethod=" + formField(name) + "&arg1=" + formField(user) + "&arg2=\"eA==\"",
                "Accept: application/json\r\n" + headers);
}

std::string cookieOf(const std::string &reply)
{
    const Lines parts = split(reply, "Set-Cookie: ");
    return parts.size() == 1 ? "" : "Cookie: " + split(parts[1], ";")[0] + "\r\n";
}
