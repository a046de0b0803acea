// core/run_state.h: whether the service runs, as both threads see it. The two globals are in
// webServer.h; only the functions here write to them.
#pragma once

// Returns true while the service runs: from the bind until it is asked to stop.
bool isRunning();

void setRunning(bool running);

// Returns the listening socket, -1 when there is none.
int listeningSocket();

// Publishes the listening socket. -1 means to the host that the context is free for another start.
void setListeningSocket(int listener);
