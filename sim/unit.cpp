// sim/unit.cpp: reads, forces and blocks the simulated points. The library calls all of it on its
// service thread, so nothing is locked.
#include "unit.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <random>

#include "log.h"
#include "plain_text.h"
#include "security/gate.h"
#include "webServerHost.h"

using Clock = std::chrono::steady_clock; // setting the unit's time leaves it alone

// Limits the work of the first read after a long time. The value does not depend on steps that far back.
static const double MAX_WALK_STEPS = 1000;
static const double MIN_STEPS = 500; // of a measured value, in its range
static const double MAX_STEPS_OF_ONE = 1e9;
static const double WALK_RANGE_PER_STEP = 0.05; // largest step, as a part of the walk's range
static const std::size_t MAX_FLAGS_BYTES = 15;
static const std::size_t VALUE_TEXT_SIZE = 312; // what x_readData may write, with the terminator

enum ReadStatus { READ_DONE = 0, READ_NO_POINT = 1, READ_ERROR = 2, READ_NO_TYPE = 3 };

// The statuses of forcing and blocking. 1 is missing: the library answers it under local control.
enum WriteStatus {
    WRITE_DONE = 0,
    WRITE_NO_TYPE = 2,
    WRITE_NO_POINT = 3,
    WRITE_BAD_VALUE = 4, // not a finite number; when blocking: neither 0 nor 1
    WRITE_BAD_FLAGS = 5, // not 1 to 15 of A-Z, 0-9, comma and underscore
};

struct State {
    Point point;    // never changes
    double value;   // of a simulated point: as at the last read
    bool simulated; // false while forced or blocked, and for commands and set points
    bool blocked;
    std::string quality;
    double walkSteps; // that a WALK has made since the start
};

static std::map<std::string, State> states[NO_TYPE]; // by PointType and name
static std::string version;
static const Clock::time_point start = Clock::now();

void startUnit(const std::vector<Point> &points, const std::string &coreDbVersion)
{
    version = coreDbVersion;
    for (const Point &point : points) {
        const double value = point.simulation == WALK ? (point.from + point.to) / 2 : point.from;
        states[point.type][point.name] = {point, value, !isStored(point.type), false, "GOOD", 0};
    }
}

double secondsUp()
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Rounds as a transducer does, which has a few hundred steps in its range or more.
static double measured(double value, const Point &point)
{
    if (point.simulation == CONSTANT)
        return value;
    const double range = std::fabs(point.to - point.from);
    double stepsOfOne = 1;
    while (range * stepsOfOne < MIN_STEPS && stepsOfOne < MAX_STEPS_OF_ONE)
        stepsOfOne *= 10;
    return std::round(value * stepsOfOne) / stepsOfOne;
}

static void walk(State *state)
{
    static std::minstd_rand random;
    const Point &point = state->point;
    const double steps = std::floor(secondsUp() / point.seconds);
    const double missing = std::min(steps - state->walkSteps, MAX_WALK_STEPS);
    state->walkSteps = steps;
    const double largest = (point.to - point.from) * WALK_RANGE_PER_STEP;
    std::uniform_real_distribution<double> step(-largest, largest);
    for (int left = static_cast<int>(missing); left > 0; --left)
        state->value =
            std::clamp(measured(state->value + step(random), point), point.from, point.to);
}

// Returns the point with its present value, or null and the reason.
static State *find(const char *type, const char *name, WriteStatus *reason)
{
    const PointType wanted = findType(type);
    *reason = wanted == NO_TYPE ? WRITE_NO_TYPE : WRITE_NO_POINT;
    if (wanted == NO_TYPE || states[wanted].count(name) == 0)
        return nullptr;
    State *state = &states[wanted].at(name);
    if (state->simulated && state->point.simulation == WALK)
        walk(state);
    else if (state->simulated)
        state->value = measured(simulatedValue(state->point, secondsUp()), state->point);
    return state;
}

// Rounds to the nearest whole number that the type can hold.
template <typename Integer> static Integer toWhole(double value)
{
    const double lowest = std::numeric_limits<Integer>::min();
    const double highest = std::numeric_limits<Integer>::max();
    return static_cast<Integer>(std::clamp(std::round(value), lowest, highest));
}

// The client's format only selects one of the formats below; it never reaches printf. With an empty format,
// analog values and set points keep ten digits.
static ReadStatus print(const State &state, const std::string &format, char *text)
{
    const bool whole = state.point.type == STATUS || state.point.type == COMMAND;
    const char *quality = state.quality.c_str();
    if (format == "%d" || (format.empty() && whole))
        snprintf(text, VALUE_TEXT_SIZE, "%d|%s", toWhole<int>(state.value), quality);
    else if (format.empty())
        snprintf(text, VALUE_TEXT_SIZE, "%.10g|%s", state.value, quality);
    else if (format == "%u")
        snprintf(text, VALUE_TEXT_SIZE, "%u|%s", toWhole<unsigned int>(state.value), quality);
    else if (format == "%g")
        snprintf(text, VALUE_TEXT_SIZE, "%g|%s", state.value, quality);
    else
        return READ_ERROR;
    return READ_DONE;
}

// The whole text must be a finite number. strtod alone would skip leading space and
// accept an empty text as 0.
static bool parseNumber(const char *text, double *number)
{
    if (*text == '\0' || isspace(static_cast<unsigned char>(*text)) != 0)
        return false;
    char *end = nullptr;
    *number = strtod(text, &end);
    return *end == '\0' && std::isfinite(*number);
}

static bool areFlags(const char *text)
{
    const std::size_t length = strlen(text);
    return length >= 1 && length <= MAX_FLAGS_BYTES
           && strspn(text, "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789,_") == length;
}

// With flags, these become the quality. Without them, the quality says that the point is forced.
static WriteStatus force(const char *type, const char *name, const char *value, const char *flags)
{
    WriteStatus reason;
    State *state = find(type, name, &reason);
    if (state == nullptr)
        return reason;
    double number = 0;
    if (!parseNumber(value, &number))
        return WRITE_BAD_VALUE;
    if (flags != nullptr && !areFlags(flags))
        return WRITE_BAD_FLAGS;

    state->value = number;
    state->simulated = false;
    if (flags != nullptr)
        state->quality = flags;
    else if (state->blocked)
        state->quality = "BLOCKED";
    else
        state->quality = isStored(state->point.type) ? "GOOD" : "FORCED";
    return WRITE_DONE;
}

// on 1 freezes the point; 0 ends blocking and forcing.
static WriteStatus block(const char *type, const char *name, int on)
{
    WriteStatus reason;
    State *state = find(type, name, &reason);
    if (state == nullptr)
        return reason;
    if (on != 0 && on != 1)
        return WRITE_BAD_VALUE;
    state->blocked = on == 1;
    state->simulated = on == 0 && !isStored(state->point.type);
    state->quality = state->blocked ? "BLOCKED" : "GOOD";
    return WRITE_DONE;
}

extern "C" {

int x_readData(const char *type, const char *name, const char *format, char *text)
{
    WriteStatus reason;
    const State *state = find(type, name, &reason);
    const ReadStatus missing = reason == WRITE_NO_TYPE ? READ_NO_TYPE : READ_NO_POINT;
    const ReadStatus status = state == nullptr ? missing : print(*state, format, text);
    logDetail("read: %d: %s %s %s", status, inQuotes(type).c_str(), inQuotes(name).c_str(),
              status == READ_DONE ? text : "");
    return status;
}

int x_krunchDataQuality(const char *type, const char *name, const char *value, const char *flags)
{
    const WriteStatus status = force(type, name, value, flags);
    const std::string with = flags == nullptr ? "" : " with " + inQuotes(flags);
    sLogInfo("force: %d: %s %s to %s%s, %s", status, inQuotes(type).c_str(), inQuotes(name).c_str(),
             inQuotes(value).c_str(), with.c_str(), byCaller().c_str());
    return status;
}

int x_krunchData(const char *type, const char *name, const char *value)
{
    return x_krunchDataQuality(type, name, value, nullptr);
}

int x_blockPoint(const char *type, const char *name, int onOff)
{
    const WriteStatus status = block(type, name, onOff);
    sLogInfo("block: %d: %s %s to %d, %s", status, inQuotes(type).c_str(), inQuotes(name).c_str(),
             onOff, byCaller().c_str());
    return status;
}

int coreDbShowVer(const char **text)
{
    *text = version.c_str();
    return 0;
}

} // extern "C"
