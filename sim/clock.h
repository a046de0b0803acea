// sim/clock.h: the unit's own clock, which runs beside the machine's and never changes it.
#ifndef SIM_CLOCK_H
#define SIM_CLOCK_H

#include <time.h>

// The machine's date and time, as the log shows it.
void machineTime(struct timespec *now);

// Sets the unit's date and time. 0 or -1: before 1970.
int setUnitTime(time_t seconds);

int activeTimeSource();
void setActiveTimeSource(int source);

#endif
