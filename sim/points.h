// sim/points.h: the points of the unit: what they are, how they move, and the file that lists them.
#ifndef SIM_POINTS_H
#define SIM_POINTS_H

#include <string>
#include <vector>

enum PointType { STATUS, ANALOG, COMMAND, SET_POINT, NO_TYPE };

enum Simulation {
    // from, to and seconds are the members of Point.
    SINE,     // swings between from and to; seconds is the period
    RAMP,     // rises or falls from "from" to "to" in seconds, then starts again
    WALK,     // makes a random step between from and to, one in every period of seconds
    TOGGLE,   // has the value from for seconds, then the value to for seconds
    CONSTANT, // has the value from; commands and set points are always constant
    NO_SIMULATION,
};

struct Point {
    PointType type;
    std::string name;
    Simulation simulation;
    double from;
    double to;
    double seconds;
    std::string shown; // texts for people, as XML attributes
};

PointType findType(const char *name); // returns NO_TYPE for an unknown name

// Returns true for commands and set points, which keep what is written.
bool isStored(PointType type);

// Returns the value this many seconds after the start. Not for a WALK, which needs its last value.
double simulatedValue(const Point &point, double secondsUp);

// Reads the points of the unit. Throws when the file cannot be read or is damaged.
std::vector<Point> readPoints(const std::string &path);

// Writes type, name and texts of the points as XML, for the unit's pages. Throws when the file
// cannot be written.
void writePointList(const std::string &path, const std::vector<Point> &points);

#endif
