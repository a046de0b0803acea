// core/reboot.cpp: restarts a unit that cannot be reached.
#include "core/reboot.h"

#include <cstdio>
#include <stdsoap2.h>
#include <sys/reboot.h>
#include <unistd.h>

#include "gsoap/context.h"
#include "webServer.h"
#include "webServerHost.h"

static_assert(RB_AUTOBOOT == 0x01234567, "the restart command");

// Deliberate: a unit whose port cannot be bound is restarted, since nobody could reach it to restart it.
int rebootUnit(struct soap *soap)
{
    soap_print_fault(soap, stderr);
    sLogErr("webServer: rebooting system since socket binding fails for %s:%d. Soap error: %s",
            g_serverAddr, g_serverPort, failureText(soap));
    sync();
    return reboot(RB_AUTOBOOT);
}
