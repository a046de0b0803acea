// fuzz/failed_calls/calls.cpp: stands in for functions of the C library. Linked into the program, they
// win over the library's, also where the C library itself allocates (fdopen, opendir, getaddrinfo).
#include "calls.h"

#include <cerrno>
#include <ctime>
#include <malloc.h>
#include <poll.h>

#include "webServer.h"

Control *control = nullptr;
thread_local bool hostIsAtWork = false;

static thread_local bool serving = false; // this thread is the service's

static bool mustFail(Call call, int error)
{
    if (!serving || hostIsAtWork || control->call != call)
        return false;
    const unsigned long number = ++control->count;
    const unsigned long first = control->first;
    if (first == 0 || number < first || (number > first && !control->allAfter))
        return false;
    errno = error;
    return true;
}

static void *counted(void *block)
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

extern "C" {

void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void __libc_free(void *block);

WS_EXPORT void *malloc(std::size_t size) noexcept
{
    return mustFail(ALLOCATION, ENOMEM) ? nullptr : counted(__libc_malloc(size));
}

WS_EXPORT void *calloc(std::size_t count, std::size_t size) noexcept
{
    return mustFail(ALLOCATION, ENOMEM) ? nullptr : counted(__libc_calloc(count, size));
}

WS_EXPORT void *realloc(void *block, std::size_t size) noexcept
{
    if (mustFail(ALLOCATION, ENOMEM))
        return nullptr;
    forget(block);
    return counted(__libc_realloc(block, size));
}

WS_EXPORT void free(void *block) noexcept
{
    forget(block);
    __libc_free(block);
}

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
    struct timespec limit = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    return ppoll(polled, count, milliseconds < 0 ? nullptr : &limit, nullptr);
}

// What the shipped build calls in its place.
WS_EXPORT int __poll_chk(struct pollfd *polled, nfds_t count, int milliseconds, std::size_t)
{
    return poll(polled, count, milliseconds);
}

} // extern "C"
