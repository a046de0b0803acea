// core/service_thread.cpp: makes the one thread that serves requests, names it, and blocks SIGPIPE on it.
#include "core/service_thread.h"

#include <csignal>
#include <cstddef>
#include <cstring>
#include <pthread.h>
#include <stdsoap2.h>
#include <sys/prctl.h>

#include "core/serve_loop.h"
#include "gsoap/context.h"
#include "webServer.h"
#include "webServerHost.h"

// scripts/figures --check fails if the service needs more than a quarter of it.
static constexpr std::size_t STACK_BYTES = 128 * 1024 + 20000;

// The memory of the one gSOAP context. Static, because it is larger than the service thread's stack.
// Raw, because an object would be destroyed when the host exits, while the thread still uses it.
alignas(struct soap) static unsigned char contextMemory[sizeof(struct soap)];

// A client that leaves early must not end the process of a host without a handler for SIGPIPE.
static void blockSigpipe()
{
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
}

void ws_soap_initiate(struct soap *soap)
{
    setThreadName();
    blockSigpipe();
    initContext(soap);
}

static void *mainThread(void *)
{
    auto *la_soap = reinterpret_cast<struct soap *>(contextMemory);
    ws_soap_initiate(la_soap);
    ws_soap_main(la_soap);
    return nullptr;
}

int spawnHttpThread()
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, STACK_BYTES);
    pthread_t thread;
    int error = pthread_create(&thread, &attributes, mainThread, nullptr);
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        sLogErr("webServer: spawnHttpThread() error creating the thread %d", error);
        return -1;
    }
    error = pthread_detach(thread);
    if (error != 0)
        sLogErr("webServer: spawnHttpThread() error creating the thread as detached; %s (%d)",
                strerror(error), error);
    return error;
}

int setThreadName()
{
    return prctl(PR_SET_NAME, "webServer"); // the kernel keeps at most 15 characters
}

void sigpipe_handle(int) {}
