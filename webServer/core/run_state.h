// core/run_state.h: whether the service runs, as both threads see it. The two globals are in
// webServer.h; only the functions here write to them.
#pragma once

// Returns false once the service has been asked to stop, and before it serves.
bool isRunning();

void setRunning(bool running);

// Returns the listening socket, -1 when there is none.
int listeningSocket();

// Publishes the listening socket. -1 tells the host that the context is free for another start.
void setListeningSocket(int listener);
