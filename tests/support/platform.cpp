// tests/support/platform.cpp: replaces functions of the system and of gSOAP that must not run in a
// test, would take too long, or must fail. The linker prefers these, because they are part of the
// program.
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <stdsoap2.h>
#include <sys/sendfile.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "support/fake_host.h"

static const std::size_t MOST_BYTES_FOR_A_REQUEST = 17 << 20; // a form of the largest size
static std::atomic<int64_t> skippedMilliseconds{0};

void skipTime(int milliseconds)
{
    skippedMilliseconds += milliseconds;
}

extern "C" {

int reboot(int command)
{
    host().record("reboot(" + std::to_string(command) + ")");
    return -1;
}

void sync(void)
{
    host().record("sync()");
}

unsigned int sleep(unsigned int seconds)
{
    host().record("sleep(" + std::to_string(seconds) + ")");
    usleep(50000); // long enough for an idle service thread to end
    return 0;
}

time_t time(time_t *out)
{
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return out == nullptr ? now.tv_sec : *out = now.tv_sec;
}

char *strdup(const char *text)
{
    if (hostExists() && host().strdups >= 0 && host().strdups-- == 0)
        return nullptr;
    char *copy = static_cast<char *>(malloc(strlen(text) + 1));
    return copy == nullptr ? nullptr : strcpy(copy, text);
}

// The memory of requests and of the library; see FakeHost::refusedBytes.
void *soap_malloc(struct soap *soap, size_t size)
{
    using Function = void *(*)(struct soap *, size_t);
    static const Function real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "soap_malloc"));
    if (hostExists() && size > MOST_BYTES_FOR_A_REQUEST)
        host().record("soap_malloc(" + std::to_string(size) + ")");
    if (!hostExists() || host().refusedBytes != size)
        return real(soap, size);
    soap->error = SOAP_EOM;
    return nullptr;
}

int __wrap_malloc_trim(size_t)
{
    if (hostExists())
        ++host().trims;
    return 0;
}

void *__real_malloc(size_t size);
void *__wrap_malloc(size_t size)
{
    return hostExists() && host().refusedBytes == size ? nullptr : __real_malloc(size);
}

void *__real_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size)
{
    return hostExists() && host().refusedBytes == count * size ? nullptr
                                                               : __real_calloc(count, size);
}

int __real_pthread_create(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
int __wrap_pthread_create(pthread_t *thread, const pthread_attr_t *wanted, void *(*run)(void *),
                          void *argument)
{
    const int error = hostExists() ? host().createError : 0;
    if (hostExists())
        host().gateAtStart = pgf_parseAuth != nullptr;
    return error != 0 ? error : __real_pthread_create(thread, wanted, run, argument);
}

int __real_pthread_detach(pthread_t);
int __wrap_pthread_detach(pthread_t thread)
{
    const int error = __real_pthread_detach(thread);
    return hostExists() && host().detachError != 0 ? host().detachError : error;
}

ssize_t getrandom(void *to, size_t size, unsigned)
{
    memset(to, 'r', size);
    return hostExists() && host().noRandom ? -1 : static_cast<ssize_t>(size);
}

time_t mktime(struct tm *local)
{
    return hostExists() && host().noTime ? -1 : timelocal(local);
}

ssize_t sendfile(int to, int from, off_t *offset, size_t count)
{
    if (hostExists() && host().sendfileError != 0) {
        errno = host().sendfileError;
        return -1;
    }
    static const auto real = reinterpret_cast<decltype(&sendfile)>(dlsym(RTLD_NEXT, "sendfile64"));
    return real(to, from, offset, count);
}

int clock_gettime(clockid_t clock, struct timespec *time)
{
    static std::atomic<time_t> processorSeconds;
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    if (clock == CLOCK_MONOTONIC) {
        const int64_t ahead = skippedMilliseconds * 1000000 + time->tv_nsec;
        time->tv_sec += static_cast<time_t>(ahead / 1000000000);
        time->tv_nsec = static_cast<long>(ahead % 1000000000);
    } else if (clock == CLOCK_THREAD_CPUTIME_ID && hostExists() && host().cpuSecondsPerLook >= 0) {
        *time = {processorSeconds += host().cpuSecondsPerLook, 0};
    } else if (clock == CLOCK_REALTIME && hostExists() && host().now != 0) {
        *time = {host().now, 0};
    }
    return result;
}
}
