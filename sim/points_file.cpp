// sim/points_file.cpp: reads the points of the unit, and writes the list of them for its pages.
#include "points_file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "files.h"
#include "json_file.h"
#include "state_folder.h"
#include "webServerHost.h"

using nlohmann::json;

static const std::size_t MAX_NAME_BYTES = 60;
static const std::size_t MAX_UNIT_BYTES = 12; // what a row of the page has room for
static const int MAX_POINTS_OF_A_TYPE = 1000; // what a client can read at once
static const char *const NAME_CHARACTERS =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.-";

// Beyond these the arithmetic of the simulations could leave the numbers.
static const double MAX_VALUE = 1e12;
static const double MIN_SECONDS = 0.01;
static const double MAX_SECONDS = 1e9;

static const mode_t LIST_MODE = 0644;

static const std::vector<Field> &pointFields()
{
    static const std::vector<Field> fields = {
        {"type",       TEXT,   true },
        {"name",       TEXT,   true },
        {"simulation", TEXT,   false},
        {"value",      NUMBER, false},
        {"from",       NUMBER, false},
        {"to",         NUMBER, false},
        {"seconds",    NUMBER, false},
        {"unit",       TEXT,   false},
        {"text",       TEXT,   false},
    };
    return fields;
}

static std::string digits(double number)
{
    char text[32];
    snprintf(text, sizeof text, "%g", number);
    return text;
}

static bool isName(const std::string &text)
{
    return !text.empty() && text.size() <= MAX_NAME_BYTES
           && text.find_first_not_of(NAME_CHARACTERS) == std::string::npos;
}

// The point that an object describes; what is not said is 0, empty or constant.
static Point toPoint(const json &object)
{
    Point point;
    point.type = findType(object.value("type", "").c_str());
    point.name = object.value("name", "");
    point.simulation = findSimulation(object.value("simulation", "constant").c_str());
    point.from = object.value(point.simulation == CONSTANT ? "value" : "from", 0.0);
    point.to = object.value("to", 0.0);
    point.seconds = object.value("seconds", 0.0);
    point.unit = object.value("unit", "");
    point.text = object.value("text", "");
    return point;
}

// What is wrong with the way that it moves, or an empty text.
static std::string checkSimulation(const json &object, const Point &point)
{
    const bool moves = point.simulation != CONSTANT;
    if (moves && isStored(point.type))
        return "commands and set points are constant: they keep what is written";
    if (moves && object.contains("value"))
        return R"("value" is for constants)";
    for (const char *field : {"from", "to", "seconds"})
        if (object.contains(field) != moves)
            return '"' + std::string(field) + (moves ? "\" is missing" : "\" is for what moves");
    if (std::max(std::fabs(point.from), std::fabs(point.to)) > MAX_VALUE)
        return "a value is beyond " + digits(MAX_VALUE);
    if (moves && (point.seconds < MIN_SECONDS || point.seconds > MAX_SECONDS))
        return R"("seconds" must be )" + digits(MIN_SECONDS) + " to " + digits(MAX_SECONDS);
    if (point.simulation == WALK && point.from > point.to)
        return R"(a walk's "from" must not be above "to")";
    return {};
}

static std::string checkPoint(const json &object, const Point &point)
{
    if (point.type == NO_TYPE)
        return R"("type" must be status, analog, command or setPoint)";
    if (!isName(point.name))
        return R"("name" must have 1 to )" + std::to_string(MAX_NAME_BYTES)
               + R"( of A-Z, a-z, 0-9, "_", "." and "-")";
    if (point.unit.size() > MAX_UNIT_BYTES)
        return R"("unit" must have at most )" + std::to_string(MAX_UNIT_BYTES) + " bytes";
    if (point.simulation == NO_SIMULATION)
        return R"("simulation" must be sine, ramp, walk, toggle or constant)";
    return checkSimulation(object, point);
}

int readPoints(const std::string &path, std::vector<Point> *points)
{
    std::set<std::pair<PointType, std::string>> known;
    int countOfType[NO_TYPE] = {};
    const auto take = [&](const json &object) -> std::string {
        const Point point = toPoint(object);
        std::string wrong = checkPoint(object, point);
        if (!wrong.empty())
            return wrong;
        if (!known.emplace(point.type, point.name).second)
            return std::string(typeName(point.type)) + " " + point.name + " is there twice";
        if (++countOfType[point.type] > MAX_POINTS_OF_A_TYPE)
            return "more than " + std::to_string(MAX_POINTS_OF_A_TYPE) + " points of a type";
        points->push_back(point);
        return {};
    };
    if (readObjects(path, pointFields(), take) != 0)
        return -1;
    return points->empty() ? refuseFile(path, "no points") : 0;
}

static std::string attribute(const char *name, const std::string &text)
{
    std::string result = std::string(" ") + name + "=\"";
    for (const char character : text)
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += character;
        }
    return result + '"';
}

void writePointList(const std::string &path, const std::vector<Point> &points)
{
    std::string list = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<points xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
                       " xsi:noNamespaceSchemaLocation=\"pointList.xsd\">\n";
    for (const Point &point : points) {
        list +=
            "  <point" + attribute("type", typeName(point.type)) + attribute("name", point.name);
        if (!point.unit.empty())
            list += attribute("unit", point.unit);
        if (!point.text.empty())
            list += attribute("text", point.text);
        list += "/>\n";
    }
    list += "</points>\n";
    if (replaceFile(path, list, LIST_MODE) != 0)
        sLogWarn("unit: cannot write %s: %s", pathForPeople(path).c_str(), strerror(errno));
}
