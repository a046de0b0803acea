// sim/points.cpp: the table of the unit's points, and their values as functions of time.
#include "points.h"

#include <cmath>
#include <cstring>

static const double TWO_PI = 6.283185307179586;

static const char *const TYPE_NAMES[] = {"status", "analog", "command", "setPoint"}; // by PointType

constexpr Point POINTS[POINT_COUNT] = {
  // type    name               simulation  from    to       seconds
    {STATUS,    "BRK1_POS",         TOGGLE,   0,     1,      0.9 },
    {STATUS,    "BRK2_POS",         TOGGLE,   1,     0,      1.1 },
    {STATUS,    "BRK3_POS",         CONSTANT, 1,     0,      0   },
    {STATUS,    "ISO1_POS",         CONSTANT, 1,     0,      0   },
    {STATUS,    "ISO2_POS",         CONSTANT, 1,     0,      0   },
    {STATUS,    "EARTH1_POS",       CONSTANT, 0,     0,      0   },
    {STATUS,    "FDR1_PICKUP",      TOGGLE,   0,     1,      0.7 },
    {STATUS,    "FDR2_PICKUP",      TOGGLE,   1,     0,      0.8 },
    {STATUS,    "TR1_FAN_ON",       TOGGLE,   0,     1,      1.0 },
    {STATUS,    "TAP1_POS",         RAMP,     1,     17,     12  },
    {STATUS,    "DC_SUPPLY_FAIL",   CONSTANT, 0,     0,      0   },
    {STATUS,    "CABINET_DOOR",     TOGGLE,   1,     0,      0.6 },

    {ANALOG,    "BUS1_VAB",         SINE,     132.4, 1.8,    13  },
    {ANALOG,    "BUS1_VBC",         SINE,     132.1, 1.7,    17  },
    {ANALOG,    "BUS1_VCA",         SINE,     132.6, 1.9,    11  },
    {ANALOG,    "BUS1_FREQ",        WALK,     49.95, 50.05,  0.2 },
    {ANALOG,    "FDR1_IA",          SINE,     212,   35,     19  },
    {ANALOG,    "FDR1_IB",          SINE,     208,   34,     23  },
    {ANALOG,    "FDR1_IC",          SINE,     215,   36,     29  },
    {ANALOG,    "FDR1_P",           WALK,     40,    55,     0.25},
    {ANALOG,    "FDR1_Q",           SINE,     0,     6.5,    31  },
    {ANALOG,    "FDR1_ENERGY",      RAMP,     0,     100000, 3600},
    {ANALOG,    "FDR2_IA",          WALK,     90,    180,    0.3 },
    {ANALOG,    "FDR2_P",           WALK,     18,    34,     0.25},
    {ANALOG,    "TR1_OIL_TEMP",     WALK,     55,    75,     0.5 },
    {ANALOG,    "TR1_WINDING_TEMP", RAMP,     60,    90,     45  },
    {ANALOG,    "BATT_VOLTAGE",     WALK,     108,   116,    0.4 },
    {ANALOG,    "NOMINAL_VOLTAGE",  CONSTANT, 132,   0,      0   },

    {COMMAND,   "BRK1_OPEN",        CONSTANT, 0,     0,      0   },
    {COMMAND,   "BRK1_CLOSE",       CONSTANT, 0,     0,      0   },
    {COMMAND,   "BRK2_OPEN",        CONSTANT, 0,     0,      0   },
    {COMMAND,   "BRK2_CLOSE",       CONSTANT, 0,     0,      0   },
    {COMMAND,   "TAP1_RAISE",       CONSTANT, 0,     0,      0   },
    {COMMAND,   "TAP1_LOWER",       CONSTANT, 0,     0,      0   },
    {COMMAND,   "TR1_FAN_START",    CONSTANT, 0,     0,      0   },
    {COMMAND,   "ALARM_RESET",      CONSTANT, 0,     0,      0   },

    {SET_POINT, "V_SETPOINT",       CONSTANT, 132.5, 0,      0   },
    {SET_POINT, "V_DEADBAND",       CONSTANT, 1.25,  0,      0   },
    {SET_POINT, "P_SETPOINT",       CONSTANT, 48,    0,      0   },
    {SET_POINT, "Q_SETPOINT",       CONSTANT, -2.5,  0,      0   },
    {SET_POINT, "FDR1_I_LIMIT",     CONSTANT, 400,   0,      0   },
    {SET_POINT, "FAN_START_TEMP",   CONSTANT, 70,    0,      0   },
};

static_assert(POINTS[POINT_COUNT - 1].name != nullptr, "POINT_COUNT is too high");

PointType findType(const char *name)
{
    int type = STATUS;
    while (type != NO_TYPE && strcmp(name, TYPE_NAMES[type]) != 0)
        ++type;
    return static_cast<PointType>(type);
}

double simulatedValue(const Point &point, double secondsUp)
{
    switch (point.simulation) {
    case SINE:
        return point.from + point.to * std::sin(TWO_PI * secondsUp / point.seconds);
    case RAMP: {
        const double part = std::fmod(secondsUp, point.seconds) / point.seconds;
        return point.from + (point.to - point.from) * part;
    }
    case TOGGLE:
        return std::fmod(secondsUp, 2 * point.seconds) < point.seconds ? point.from : point.to;
    case WALK:
    case CONSTANT:
        break;
    }
    return point.from;
}
