// sim/unit.h: the present state of the unit's points, which the x_... functions of webServerHost.h read and
// write.
#ifndef SIM_UNIT_H
#define SIM_UNIT_H

#include <string>
#include <vector>

#include "points.h"

// Sets the points to their first values. Call it once, before the service starts.
void startUnit(const std::vector<Point> &points, const std::string &coreDbVersion);

// Returns how many seconds ago the program started.
double secondsUp();

#endif
