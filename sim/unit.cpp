// sim/unit.cpp: reads, forces and blocks the simulated points.
#include "unit.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

using Lock = std::lock_guard<std::mutex>;

// A walk that nobody looked at for long has forgotten where it was: no need to make every step.
static const double MAX_WALK_STEPS = 1000;
static const double WALK_RANGE_PER_STEP = 0.05; // largest step, as a part of the walk's range

static const char *const GOOD = "GOOD";
static const char *const FORCED = "FORCED";
static const char *const BLOCKED = "BLOCKED";

static void setQuality(char (&quality)[QUALITY_SIZE], const char *text)
{
    snprintf(quality, sizeof quality, "%s", text);
}

static Unit *started = nullptr;

void startUnit(std::vector<Point> points)
{
    static Unit unit(std::move(points));
    started = &unit;
}

Unit &theUnit()
{
    return *started;
}

Unit::Unit(std::vector<Point> points) : points_(std::move(points))
{
    for (const Point &point : points_) {
        indexes_[point.type].emplace(point.name, states_.size());
        State state = {};
        state.value = point.simulation == WALK ? (point.from + point.to) / 2 : point.from;
        state.simulated = !isStored(point.type);
        setQuality(state.quality, GOOD);
        states_.push_back(state);
    }
}

double Unit::secondsUp() const
{
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

void Unit::walk(const Point &point, State *state)
{
    const double steps = std::floor(secondsUp() / point.seconds);
    const double missing = std::min(steps - state->walkSteps, MAX_WALK_STEPS);
    state->walkSteps = steps;
    const double largest = (point.to - point.from) * WALK_RANGE_PER_STEP;
    std::uniform_real_distribution<double> step(-largest, largest);
    for (int left = static_cast<int>(missing); left > 0; --left) {
        const double by = step(random_);
        const double there = state->value + by;
        const bool inside = there >= point.from && there <= point.to;
        // Turns back at the end of its range; only a value that was forced can be beyond it.
        state->value = std::clamp(inside ? there : state->value - by, point.from, point.to);
    }
}

void Unit::advance(std::size_t index)
{
    const Point &point = points_[index];
    State &state = states_[index];
    if (!state.simulated)
        return;
    if (point.simulation == WALK)
        walk(point, &state);
    else
        state.value = simulatedValue(point, secondsUp());
}

WriteStatus Unit::find(const char *type, const char *name, std::size_t *index) const
{
    const PointType wanted = findType(type);
    if (wanted == NO_TYPE)
        return WRITE_NO_TYPE;
    const auto found = indexes_[wanted].find(name);
    if (found == indexes_[wanted].end())
        return WRITE_NO_POINT;
    *index = found->second;
    return WRITE_DONE;
}

// To the nearest whole number that the type can hold.
template <typename Integer> static Integer toWhole(double value)
{
    const double lowest = std::numeric_limits<Integer>::min();
    const double highest = std::numeric_limits<Integer>::max();
    return static_cast<Integer>(std::clamp(std::round(value), lowest, highest));
}

// The client's format only chooses: it never reaches printf.
static int printValue(PointType type, const char *format, double value, const char *quality,
                      char *out, std::size_t size)
{
    const bool free = *format == '\0';
    if (free && (type == ANALOG || type == SET_POINT)) // what was set reads back as it was
        return snprintf(out, size, "%.10g|%s", value, quality);
    if (free || strcmp(format, "%d") == 0)
        return snprintf(out, size, "%d|%s", toWhole<int>(value), quality);
    if (strcmp(format, "%u") == 0)
        return snprintf(out, size, "%u|%s", toWhole<unsigned int>(value), quality);
    if (strcmp(format, "%g") == 0)
        return snprintf(out, size, "%g|%s", value, quality);
    return -1;
}

ReadStatus Unit::read(const char *type, const char *name, const char *format, char *out,
                      std::size_t size)
{
    std::size_t index = 0;
    const WriteStatus found = find(type, name, &index);
    if (found != WRITE_DONE)
        return found == WRITE_NO_TYPE ? READ_NO_TYPE : READ_NO_POINT;

    const Lock lock(mutex_);
    advance(index);
    const State &state = states_[index];
    return printValue(points_[index].type, format, state.value, state.quality, out, size) < 0
               ? READ_ERROR
               : READ_DONE;
}

// The whole text must be a finite number. strtod skips leading space without a word, and takes an
// empty text for 0.
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
    return length >= 1 && length < QUALITY_SIZE
           && strspn(text, "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789,_") == length;
}

WriteStatus Unit::force(const char *type, const char *name, const char *value, const char *flags)
{
    std::size_t index = 0;
    const WriteStatus found = find(type, name, &index);
    if (found != WRITE_DONE)
        return found;
    double number = 0;
    if (!parseNumber(value, &number))
        return WRITE_BAD_VALUE;
    if (flags != nullptr && !areFlags(flags))
        return WRITE_BAD_FLAGS;

    const Lock lock(mutex_);
    State &state = states_[index];
    state.value = number;
    state.simulated = false;
    if (flags != nullptr)
        setQuality(state.quality, flags);
    else if (state.blocked)
        setQuality(state.quality, BLOCKED);
    else
        setQuality(state.quality, isStored(points_[index].type) ? GOOD : FORCED);
    return WRITE_DONE;
}

WriteStatus Unit::block(const char *type, const char *name, int on)
{
    std::size_t index = 0;
    const WriteStatus found = find(type, name, &index);
    if (found != WRITE_DONE)
        return found;
    if (on != 0 && on != 1)
        return WRITE_BAD_VALUE;

    const Lock lock(mutex_);
    advance(index);
    State &state = states_[index];
    state.blocked = on == 1;
    state.simulated = on == 0 && !isStored(points_[index].type);
    setQuality(state.quality, state.blocked ? BLOCKED : GOOD);
    return WRITE_DONE;
}

char Unit::localRemote()
{
    const Lock lock(mutex_);
    return localRemote_;
}

int Unit::setLocalRemote(const char *text)
{
    if (strlen(text) != 1 || strchr("LRU", *text) == nullptr)
        return -1;
    const Lock lock(mutex_);
    localRemote_ = *text;
    return 0;
}
