// sim/reboot.h: what happens on a PC in place of a reboot: the main thread gets a signal.
#ifndef SIM_REBOOT_H
#define SIM_REBOOT_H

#include <csignal>

// Every thread blocks both signals; the main thread waits for them.
static const int RESTART_SIGNAL = SIGUSR1;     // a client wants the unit rebooted
static const int BIND_FAILED_SIGNAL = SIGUSR2; // the library called reboot(): it cannot listen

#endif
