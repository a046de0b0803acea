// sim/points.h: the points of the unit: what they are, how they move, and the file that lists them.
#ifndef SIM_POINTS_H
#define SIM_POINTS_H

#include <string>
#include <vector>

enum PointType { STATUS, ANALOG, COMMAND, SET_POINT, NO_TYPE };

enum Simulation {
    SINE,     // swings between from and to; seconds: period
    RAMP,     // goes from from to to in seconds, then starts over
    WALK,     // random steps between from and to, one every seconds
    TOGGLE,   // from for seconds, then to for seconds
    CONSTANT, // from; commands and set points are always constant
    NO_SIMULATION,
};

struct Point {
    PointType type;
    std::string name;
    Simulation simulation;
    double from;
    double to;
    double seconds;
    std::string unit; // of measurement
    std::string text; // for people
};

PointType findType(const char *name); // returns NO_TYPE for an unknown name

// True of commands and set points: they keep what is written.
bool isStored(PointType type);

// Returns the value this many seconds after the start. Not for a WALK, which needs its last value.
double simulatedValue(const Point &point, double secondsUp);

// Reads the points of the unit. Throws when the file is damaged.
std::vector<Point> readPoints(const std::string &path);

// Writes type, name, unit and text of the points as XML, for the unit's pages. Throws.
void writePointList(const std::string &path, const std::vector<Point> &points);

#endif
