// sim/points_file.h: the file that says which points the unit has, and the list for its pages.
#ifndef SIM_POINTS_FILE_H
#define SIM_POINTS_FILE_H

#include <string>
#include <vector>

#include "points.h"

// Returns 0, or -1 after a message: the unit must not start.
int readPoints(const std::string &path, std::vector<Point> *points);

// Writes type, name, unit and text of the points as XML. A failure goes to the log: a unit without
// the list is still a unit.
void writePointList(const std::string &path, const std::vector<Point> &points);

#endif
