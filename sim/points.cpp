// sim/points.cpp: simulates points, reads them from a file and lists them for the pages.
#include "points.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>

#include "files.h"
#include "require.h"

using nlohmann::json;

static const double TWO_PI = 6.283185307179586;

static const std::size_t MAX_NAME_BYTES = 60;
static const std::size_t MAX_UNIT_BYTES = 12;         // a row of the page has room for no more
static const std::size_t MAX_POINTS_OF_A_TYPE = 1000; // a client cannot read more at once
static const char *const NAME_CHARACTERS =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.-";

// Beyond these limits a simulated value could become infinite or no number.
static const double MAX_VALUE = 1e12;
static const double MIN_SECONDS = 0.01;
static const double MAX_SECONDS = 1e9;

static const mode_t LIST_MODE = 0644;

// What the pages show of a point. The unit itself does not use these texts.
static const char *const SHOWN_FIELDS[] = {"group", "unit", "text", "states", "alarm", "button"};

// By PointType and by Simulation.
static const char *const TYPE_NAMES[] = {"status", "analog", "command", "setPoint"};
static const char *const SIMULATION_NAMES[] = {"sine", "ramp", "walk", "toggle", "constant"};

// Returns the position of the name, or the number of names.
template <int N> static int find(const char *const (&names)[N], const char *name)
{
    int index = 0;
    while (index < N && strcmp(name, names[index]) != 0)
        ++index;
    return index;
}

PointType findType(const char *name)
{
    return static_cast<PointType>(find(TYPE_NAMES, name));
}

bool isStored(PointType type)
{
    return type == COMMAND || type == SET_POINT;
}

double simulatedValue(const Point &point, double secondsUp)
{
    if (point.simulation == CONSTANT)
        return point.from;
    const double range = point.to - point.from;
    const double part = std::fmod(secondsUp, point.seconds) / point.seconds; // of the period
    switch (point.simulation) {
    case SINE: // in single precision: the C library's double one does not run in qemu-ppc
        return point.from + range * (1 + std::sin(static_cast<float>(TWO_PI * part))) / 2;
    case RAMP:
        return point.from + range * part;
    case TOGGLE:
        return std::fmod(secondsUp, 2 * point.seconds) < point.seconds ? point.from : point.to;
    default:
        return point.from;
    }
}

// Returns an XML attribute with a space before it, or an empty text if its value is empty.
static std::string attribute(const char *name, const std::string &text)
{
    std::string escaped;
    for (const char character : text)
        if (strchr("&<>\"", character) == nullptr)
            escaped += character;
        else
            escaped += "&#" + std::to_string(character) + ';';
    return text.empty() ? "" : std::string(" ") + name + "=\"" + escaped + '"';
}

static void checkSimulation(const json &entry, const Point &point)
{
    const bool moves = point.simulation != CONSTANT;
    require(!moves || !isStored(point.type), "commands and set points are constant");
    require(!moves || !entry.contains("value"), R"("value" is for constant points)");
    for (const char *field : {"from", "to", "seconds"})
        require(entry.contains(field) == moves,
                '"' + std::string(field)
                    + (moves ? "\" is missing" : "\" is for points that move"));
    require(std::max(std::fabs(point.from), std::fabs(point.to)) <= MAX_VALUE,
            "values must be between -1e12 and 1e12");
    require(!moves || (point.seconds >= MIN_SECONDS && point.seconds <= MAX_SECONDS),
            R"("seconds" must be 0.01 to 1e9)");
    require(point.simulation != WALK || point.from <= point.to,
            R"(a walk's "from" must not be above "to")");
}

static Point toPoint(const json &entry)
{
    Point point;
    point.type = findType(entry.at("type").get<std::string>().c_str());
    point.name = entry.at("name");
    point.simulation = static_cast<Simulation>(
        find(SIMULATION_NAMES, entry.value("simulation", "constant").c_str()));
    point.from = entry.value(point.simulation == CONSTANT ? "value" : "from", 0.0);
    point.to = entry.value("to", 0.0);
    point.seconds = entry.value("seconds", 0.0);
    for (const char *field : SHOWN_FIELDS)
        point.shown += attribute(field, textField(entry, field));

    require(point.type != NO_TYPE, R"("type" must be status, analog, command or setPoint)");
    require(!point.name.empty() && point.name.size() <= MAX_NAME_BYTES
                && point.name.find_first_not_of(NAME_CHARACTERS) == std::string::npos,
            R"("name" must have 1 to 60 of A-Z, a-z, 0-9, "_", "." and "-")");
    require(textField(entry, "unit").size() <= MAX_UNIT_BYTES,
            R"("unit" must have at most 12 bytes)");
    require(point.simulation != NO_SIMULATION,
            R"("simulation" must be sine, ramp, walk, toggle or constant)");
    checkSimulation(entry, point);
    return point;
}

std::vector<Point> readPoints(const std::string &path)
{
    std::vector<Point> points;
    std::set<std::string> names[NO_TYPE]; // by PointType
    std::vector<std::string> fields = {"type", "name", "simulation", "value",
                                       "from", "to",   "seconds"};
    fields.insert(fields.end(), std::begin(SHOWN_FIELDS), std::end(SHOWN_FIELDS));
    readEntries(path, fields, [&](const json &entry) {
        const Point point = toPoint(entry);
        std::set<std::string> &known = names[point.type];
        require(known.insert(point.name).second,
                TYPE_NAMES[point.type] + (" " + point.name + " is there twice"));
        require(known.size() <= MAX_POINTS_OF_A_TYPE, "more than 1000 points of a type");
        points.push_back(point);
    });
    require(!points.empty(), path + ": no points");
    return points;
}

void writePointList(const std::string &path, const std::vector<Point> &points)
{
    std::string list = R"(<?xml version="1.0" encoding="UTF-8"?>
<points xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xsi:noNamespaceSchemaLocation="pointList.xsd">
)";
    for (const Point &point : points)
        list += "  <point" + attribute("type", TYPE_NAMES[point.type])
                + attribute("name", point.name) + point.shown + "/>\n";
    replaceFile(path, list + "</points>\n", LIST_MODE);
}
