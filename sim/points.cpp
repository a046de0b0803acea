// sim/points.cpp: the names of types and simulations, and values as functions of time.
#include "points.h"

#include <cmath>
#include <cstring>

static const double TWO_PI = 6.283185307179586;

static const char *const TYPE_NAMES[] = {"status", "analog", "command", "setPoint"}; // by PointType
static const char *const SIMULATION_NAMES[] = {"sine", "ramp", "walk", "toggle",
                                               "constant"}; // by Simulation

// The position of the name, or the number of names.
template <int N> static int find(const char *const (&names)[N], const char *name)
{
    int index = 0;
    while (index < N && strcmp(name, names[index]) != 0)
        ++index;
    return index;
}

const char *typeName(PointType type)
{
    return TYPE_NAMES[type];
}

PointType findType(const char *name)
{
    return static_cast<PointType>(find(TYPE_NAMES, name));
}

Simulation findSimulation(const char *name)
{
    return static_cast<Simulation>(find(SIMULATION_NAMES, name));
}

bool isStored(PointType type)
{
    return type == COMMAND || type == SET_POINT;
}

double simulatedValue(const Point &point, double secondsUp)
{
    const double range = point.to - point.from;
    switch (point.simulation) {
    case SINE: {
        // In single precision: the double one of the C library does not run in qemu-ppc.
        const double part = std::fmod(secondsUp, point.seconds) / point.seconds;
        return point.from + range * (1 + std::sin(static_cast<float>(TWO_PI * part))) / 2;
    }
    case RAMP:
        return point.from + range * std::fmod(secondsUp, point.seconds) / point.seconds;
    case TOGGLE:
        return std::fmod(secondsUp, 2 * point.seconds) < point.seconds ? point.from : point.to;
    case WALK:
    case CONSTANT:
    case NO_SIMULATION:
        break;
    }
    return point.from;
}
