// core/run_state.cpp: whether the service runs, as both threads see it.
#include "core/run_state.h"

#include "base/thread_shared.h"
#include "webServer.h"

int g_wsSocket = -1;
int g_wsRunningSocket = 0;

bool isRunning()
{
    return readShared(g_wsRunningSocket) != 0;
}

void setRunning(bool running)
{
    writeShared(g_wsRunningSocket, running ? 1 : 0);
}

int listeningSocket()
{
    return readShared(g_wsSocket);
}

void setListeningSocket(int listener)
{
    writeShared(g_wsSocket, listener);
}
