// core/reboot.h: restarts a unit that cannot be reached.
#pragma once

struct soap;

// Logs the context's failure and reboots the unit. Returns only when the reboot fails, with its result.
int rebootUnit(struct soap *soap);
