// sim/reboot.cpp: the unit's own reboot() and sync(), which replace the system's.
#include "reboot.h"

#include <cerrno>
#include <sys/reboot.h>
#include <unistd.h>

#include "log.h"
#include "security/gate.h"
#include "webServer.h"
#include "webServerHost.h"

extern "C" {

int usrReboot()
{
    sLogInfo("unit: reboot, %s", byCaller().c_str());
    kill(getpid(), RESTART_SIGNAL);
    return 0;
}

WS_EXPORT int reboot(int) noexcept
{
    kill(getpid(), BIND_FAILED_SIGNAL);
    errno = EPERM;
    return -1;
}

WS_EXPORT void sync() noexcept
{
    logDetail("sync()"); // that is all: the PC writes its disks by itself
}

} // extern "C"
