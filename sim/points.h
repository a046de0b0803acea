// sim/points.h: the points that the unit has, and how each of them is simulated.
#ifndef SIM_POINTS_H
#define SIM_POINTS_H

#include <cstddef>

enum PointType { STATUS, ANALOG, COMMAND, SET_POINT, NO_TYPE };

enum Simulation {
    SINE,     // from: mean, to: amplitude, seconds: period
    RAMP,     // rises from from to to in seconds, then starts over
    WALK,     // random steps between from and to, one every seconds
    TOGGLE,   // from for seconds, then to for seconds
    CONSTANT, // from; the only kind for commands and set points, which keep what is written
};

struct Point {
    PointType type;
    const char *name;
    Simulation simulation;
    double from;
    double to;
    double seconds;
};

static const std::size_t POINT_COUNT = 42;
extern const Point POINTS[POINT_COUNT];

PointType findType(const char *name);

// The value this many seconds after the start; a WALK has its own history and is not asked here.
double simulatedValue(const Point &point, double secondsUp);

#endif
