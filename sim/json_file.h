// sim/json_file.h: a file that is a list of objects in JSON, and what is wrong with it in which line.
#ifndef SIM_JSON_FILE_H
#define SIM_JSON_FILE_H

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

enum FieldKind {
    TEXT, // for a line of a terminal, and for XML; of limited length
    NUMBER,
    FLAG,
    LIST,
};

struct Field {
    const char *name;
    FieldKind kind;
    bool required;
};

// Gets one object of the list, with fields of the right kinds. Answers what is wrong with it, or an
// empty text.
using TakeObject = std::function<std::string(const nlohmann::json &object)>;

// Hands over the objects in their order. Returns 0, or -1 after a message for the first that is
// wrong; an object may have no other fields than these. Lines may end in comments that begin with //.
int readObjects(const std::string &path, const std::vector<Field> &fields, const TakeObject &take);

// Says on standard error what is wrong with a file, or with a line of it: "path:line". Always -1.
int refuseFile(const std::string &path, const std::string &reason);

// In quotes, with escapes for all that is not ASCII: it can be shown, whatever it is.
std::string quoted(const std::string &text);

#endif
