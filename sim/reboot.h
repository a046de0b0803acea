// sim/reboot.h: what takes the place of rebooting the machine: notes for the main thread.
#ifndef SIM_REBOOT_H
#define SIM_REBOOT_H

#include <csignal>

// Wakes the main thread after a note was made; every thread blocks it.
static const int WAKE_SIGNAL = SIGUSR1;

// A client wants the unit rebooted.
void noteRebootWish();
bool rebootWished();

// The library called reboot(), as it does when it cannot bind its port.
bool bindFailed();

#endif
