// sim/reboot.cpp: the unit's own reboot() and sync(), which win over the system's.
#include "reboot.h"

#include <atomic>
#include <cerrno>
#include <sys/reboot.h>
#include <unistd.h>

#include "log.h"
#include "webServer.h"

static std::atomic<bool> wished(false);
static std::atomic<bool> failed(false);

static void note(std::atomic<bool> *what)
{
    *what = true;
    kill(getpid(), WAKE_SIGNAL);
}

void noteRebootWish()
{
    note(&wished);
}

bool rebootWished()
{
    return wished;
}

bool bindFailed()
{
    return failed;
}

extern "C" {

// Firmware restarts here. On a PC the main thread ends the program instead.
WS_EXPORT int reboot(int) noexcept
{
    note(&failed);
    errno = EPERM;
    return -1;
}

WS_EXPORT void sync() noexcept
{
    logDetail("sync()"); // the machine writes its disks when it likes
}

} // extern "C"
