// sim/clock.h: the unit's own clock. It can be set without changing the machine's.
#ifndef SIM_CLOCK_H
#define SIM_CLOCK_H

#include <time.h>

// Gets the machine's date and time, which the log shows.
void machineTime(struct timespec *now);

// Sets the number that the library reports as the active source of time.
void setActiveTimeSource(int source);

#endif
