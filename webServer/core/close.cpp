// core/close.cpp: stops the service from a host thread.
#include <sys/socket.h>
#include <unistd.h>

#include "core/run_state.h"
#include "webServer.h"
#include "webServerHost.h"

static constexpr int MAX_CLOSE_WAITS = 10; // of one second each; hosts are promised ten seconds

int ws_soap_close()
{
    setRunning(false);
    sLogInfo("webServer: closing");
    // The next accept then fails. The loop serves what has begun to arrive, and ends. If shutdown() fails,
    // the service has ended already.
    shutdown(listeningSocket(), SHUT_RDWR);

    int waits = 0;
    while (listeningSocket() > 0 && waits < MAX_CLOSE_WAITS) {
        sleep(1);
        ++waits;
    }
    return waits == MAX_CLOSE_WAITS ? 1 : 0;
}
