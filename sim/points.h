// sim/points.h: what a point of the unit is, and how it is simulated.
#ifndef SIM_POINTS_H
#define SIM_POINTS_H

#include <string>

enum PointType { STATUS, ANALOG, COMMAND, SET_POINT, NO_TYPE };

enum Simulation {
    SINE,     // swings between from and to; seconds: period
    RAMP,     // goes from from to to in seconds, then starts over
    WALK,     // random steps between from and to, one every seconds
    TOGGLE,   // from for seconds, then to for seconds
    CONSTANT, // from; the only kind for commands and set points, which keep what is written
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

const char *typeName(PointType type);
PointType findType(const char *name);
Simulation findSimulation(const char *name);

// Commands and set points: they keep what is written.
bool isStored(PointType type);

// The value this many seconds after the start; a WALK has its own history and is not asked here.
double simulatedValue(const Point &point, double secondsUp);

#endif
