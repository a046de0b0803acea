// sim/unit.h: the simulated unit: the present state of its points, and its local/remote switch.
#ifndef SIM_UNIT_H
#define SIM_UNIT_H

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "points.h"

enum ReadStatus { READ_DONE = 0, READ_NO_POINT = 1, READ_ERROR = 2, READ_NO_TYPE = 3 };

// Of forcing and blocking. There is no 1: it tells the client that local control refused it.
enum WriteStatus {
    WRITE_DONE = 0,
    WRITE_NO_TYPE = 2,
    WRITE_NO_POINT = 3,
    WRITE_BAD_VALUE = 4, // not a finite number; when blocking: neither 0 nor 1
    WRITE_BAD_FLAGS = 5, // not 1 to 15 of A-Z, 0-9, comma and underscore
};

static const std::size_t QUALITY_SIZE = 16; // with the terminator

// Every function may be called from every thread.
class Unit {
    using Clock = std::chrono::steady_clock;

    struct State {
        double value;   // the present one, unless simulated: then the one last read
        bool simulated; // false while forced or blocked; never true of commands and set points
        bool blocked;
        char quality[QUALITY_SIZE];
        double walkSteps; // that a WALK has made since the start
    };

    using Index = std::map<std::string, std::size_t, std::less<>>; // of points_, by name

    const std::vector<Point> points_;
    Index indexes_[NO_TYPE]; // by PointType
    std::mutex mutex_;       // of all that follows
    const Clock::time_point start_ = Clock::now();
    std::minstd_rand random_;
    char localRemote_ = 'R';
    std::vector<State> states_; // of points_, in its order

    void advance(std::size_t index); // brings a simulated value up to date
    void walk(const Point &point, State *state);
    WriteStatus find(const char *type, const char *name, std::size_t *index) const;

public:
    explicit Unit(std::vector<Point> points);

    double secondsUp() const;

    // Writes "<value>|<quality>". format is "%d", "%u", "%g" or empty: the type's own, with which a
    // set point keeps its digits.
    ReadStatus read(const char *type, const char *name, const char *format, char *out,
                    std::size_t size);

    // Null flags: the quality says by itself that the point is forced.
    WriteStatus force(const char *type, const char *name, const char *value, const char *flags);

    // 1: freezes the point; 0: gives it back to the simulation, from blocking and forcing.
    WriteStatus block(const char *type, const char *name, int on);

    char localRemote();                   // 'L' local, 'R' remote, 'U' unknown
    int setLocalRemote(const char *text); // 0 or -1: none of the three letters
};

// Makes the one unit of this program. Call it once, before the service starts.
void startUnit(std::vector<Point> points);
Unit &theUnit();

#endif
