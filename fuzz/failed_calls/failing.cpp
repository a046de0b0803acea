// fuzz/failed_calls/failing.cpp: stands in for functions of the C library, which fail when the driver wants it.
#include "failing.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <dirent.h>
#include <dlfcn.h>
#include <malloc.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include "host.h"
#include "webServer.h"

// The name in the C library, the error, the type of the result, what a failed call returns and does all the
// same, the parameters, and the arguments.
// clang-format off
#define CALLS(CALL) \
    CALL(open64, EMFILE, int, -1, NOTHING, (const char *path, int flags, mode_t mode), (path, flags, mode)) \
    CALL(openat64, EMFILE, int, -1, NOTHING, (int folder, const char *path, int flags, mode_t mode), (folder, path, flags, mode)) \
    CALL(fdopen, EMFILE, FILE *, nullptr, NOTHING, (int file, const char *mode), (file, mode)) \
    CALL(fread, EIO, size_t, 0, file->_flags |= ERROR_SEEN, (void *to, size_t size, size_t count, FILE *file), (to, size, count, file)) \
    CALL(pread64, EIO, ssize_t, -1, NOTHING, (int file, void *to, size_t size, off64_t at), (file, to, size, at)) \
    CALL(pwrite64, ENOSPC, ssize_t, -1, NOTHING, (int file, const void *from, size_t size, off64_t at), (file, from, size, at)) \
    CALL(ftruncate64, EIO, int, -1, NOTHING, (int file, off64_t size), (file, size)) \
    CALL(stat64, EIO, int, -1, NOTHING, (const char *path, void *status), (path, status)) \
    CALL(lstat64, EIO, int, -1, NOTHING, (const char *path, void *status), (path, status)) \
    CALL(fstat64, EIO, int, -1, NOTHING, (int file, void *status), (file, status)) \
    CALL(fsync, EIO, int, -1, NOTHING, (int file), (file)) \
    CALL(renameat, EIO, int, -1, NOTHING, (int from, const char *old, int to, const char *name), (from, old, to, name)) \
    CALL(opendir, EMFILE, DIR *, nullptr, NOTHING, (const char *path), (path)) \
    CALL(readdir64, EIO, void *, nullptr, NOTHING, (DIR *folder), (folder)) \
    CALL(send, EPIPE, ssize_t, -1, NOTHING, (int socket, const void *from, size_t size, int flags), (socket, from, size, flags)) \
    CALL(sendfile64, EIO, ssize_t, -1, NOTHING, (int to, int from, off64_t *at, size_t size), (to, from, at, size)) \
    CALL(recv, ECONNRESET, ssize_t, -1, NOTHING, (int socket, void *to, size_t size, int flags), (socket, to, size, flags)) \
    CALL(accept4, EMFILE, int, -1, NOTHING, (int listener, void *address, socklen_t *size, int flags), (listener, address, size, flags)) \
    CALL(shutdown, ENOTCONN, int, -1, NOTHING, (int socket, int how), (socket, how)) \
    CALL(setsockopt, ENOMEM, int, -1, NOTHING, (int socket, int level, int name, const void *value, socklen_t size), (socket, level, name, value, size)) \
    CALL(pthread_create, EAGAIN, int, EAGAIN, NOTHING, (pthread_t *thread, const pthread_attr_t *wanted, void *(*run)(void *), void *argument), (thread, wanted, run, argument)) \
    CALL(fclose, EIO, int, EOF, call(file), (FILE *file), (file))
// clang-format on

#define IDENTIFIER(name, ...) CALL_##name,
enum { FAILS_MEMORY, FAILS_POLL, CALLS(IDENTIFIER) CALLS_IN_TABLE };
static_assert(static_cast<int>(CALLS_IN_TABLE) == CALL_COUNT);

#define NAME(name, ...) #name,
const char *const CALL_NAMES[CALL_COUNT] = {"memory", "poll", CALLS(NAME)};

Control *control = nullptr;
thread_local bool serving = false;

static bool mustFail(int call, int error)
{
    if (!serving || hostAllocates) // what a host does without memory is its own affair
        return false;
    const unsigned long number = ++control->counts[call], first = control->first;
    if (call != control->call || first == 0 || number < first
        || (number > first && !control->allAfter))
        return false;
    ++control->failed[call];
    errno = error;
    return true;
}

static const int ERROR_SEEN = 0x20; // of a stream, as ferror() finds it
#define NOTHING static_cast<void>(0)

// Another name in C++, because the headers declare some of them differently.
#define STAND_IN(name, error, type, failure, effect, parameters, arguments)                        \
    extern "C" WS_EXPORT type failing_##name parameters __asm__(#name);                            \
    type failing_##name parameters                                                                 \
    {                                                                                              \
        static const auto call =                                                                   \
            reinterpret_cast<decltype(&failing_##name)>(dlsym(RTLD_NEXT, #name));                  \
        if (!mustFail(CALL_##name, error))                                                         \
            return call arguments;                                                                 \
        effect;                                                                                    \
        errno = error;                                                                             \
        return failure;                                                                            \
    }
CALLS(STAND_IN)

// ---- Memory -----------------------------------------------------------------------------------------

static bool mustFail()
{
    return mustFail(MEMORY, ENOMEM);
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

// ---- The wait, and the first call of the service thread ---------------------------------------------

extern "C" {

// Only the service thread calls it, and with the listening socket alone when all clients are gone.
WS_EXPORT int poll(struct pollfd *polled, nfds_t count, int milliseconds)
{
    // Through memory: the C library says that poll() reads nothing of them.
    const struct pollfd *volatile sockets = polled;
    const auto isOpen = [](const struct pollfd &each) { return each.fd >= 0; };
    const bool rests = serving && std::count_if(sockets, sockets + count, isOpen) == 1;
    if (rests)
        ++control->rests;
    if (mustFail(FAILS_POLL, ENOMEM))
        return -1;
    const struct timespec limit = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    if (rests)
        control->resting = true;
    const int result = ppoll(polled, count, milliseconds < 0 ? nullptr : &limit, nullptr);
    if (rests)
        control->resting = false;
    return result;
}

// What the shipped build calls in its place.
WS_EXPORT int __poll_chk(struct pollfd *polled, nfds_t count, int milliseconds, std::size_t)
{
    return poll(polled, count, milliseconds);
}

// The service thread begins with its name.
WS_EXPORT int prctl(int, ...)
{
    serving = control != nullptr;
    return 0;
}

} // extern "C"
