// core/service_thread.cpp: the one thread that serves requests, and the SIGPIPE handler for hosts.
#include <cstddef>
#include <cstring>
#include <pthread.h>
#include <sys/prctl.h>

#include "core/serve_loop.h"
#include "webServer.h"
#include "webServerHost.h"

static const std::size_t STACK_BYTES = 128 * 1024 + 20000;

// The memory of the one gSOAP context: static, because it is larger than the service thread's stack;
// bare, because it must not be destroyed under the service thread when the host exits.
alignas(struct soap) static unsigned char contextMemory[sizeof(struct soap)];

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
    char name[17];
    strncpy(name, "webServer", 16);
    name[16] = '\0';
    return prctl(PR_SET_NAME, name);
}

void sigpipe_handle(int) {}
