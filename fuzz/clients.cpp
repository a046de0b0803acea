// fuzz/clients.cpp: clients in the fuzzer's own thread. The service waits in poll() only, and there they act.
#include "clients.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <poll.h>
#include <stdsoap2.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "base/base64.h"
#include "core/serve_loop.h"
#include "net/connections.h"
#include "support/fake_host.h"

struct soap *const context = new struct soap;
static std::vector<Call *> calls;
static std::unique_ptr<Call> another; // ends the wait when the service has dropped all the others

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
    const struct timespec atOnce = {};
    int ready = ppoll(polled, count, &atOnce, nullptr);
    if (polled[count - 1].fd == context->master) {
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
    const auto next =
        std::find_if(calls.begin(), calls.end(), [](auto *call) { return !call->connected; });
    int pair[2];
    if (next == calls.end() || socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair) != 0)
        return errno = EAGAIN, -1;
    const int bytes =
        4096; // of the service's replies in the kernel, so that it must keep some itself
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

void exchange(std::vector<Call> *together)
{
    for (Call &call : *together)
        calls.push_back(&call);
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
    return "POST " + target + " HTTP/1.1\r\nContent-Type: " + type + "\r\n" + headers
           + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string command(const std::string &name, const std::string &user, const std::string &headers)
{
    const auto field = [](const std::string &text) { // in Base64, quoted, because of its "="
        char coded[100];
        httpBase64encode(reinterpret_cast<const unsigned char *>(text.data()),
                         static_cast<int>(text.size()), coded, sizeof coded);
        return '"' + std::string(coded) + '"';
    };
    return post("cgiMethod=" + field(name) + "&arg1=" + field(user) + "&arg2=\"eA==\"",
                "Accept: application/json\r\n" + headers);
}

std::string cookieOf(const std::string &reply)
{
    const std::size_t at = reply.find("Set-Cookie: ");
    return at == std::string::npos ? ""
                                   : reply.substr(at + 4, reply.find(';', at) - at - 4) + "\r\n";
}
