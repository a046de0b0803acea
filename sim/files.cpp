// sim/files.cpp: reads and replaces data files.
#include "files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <unistd.h>

#include "mnt.h"
#include "plain_text.h"
#include "require.h"

using nlohmann::json;

static const std::size_t MAX_TEXT_BYTES = 300;
static const bool THROW_ERRORS = true, IGNORE_COMMENTS = true; // arguments of the parser

std::string textField(const json &entry, const char *field)
{
    std::string text = entry.value(field, "");
    require(text.size() <= MAX_TEXT_BYTES && text == plainText(text),
            std::string(field) + " must have at most 300 bytes and no control characters");
    return text;
}

// Drops the bracket in which the JSON library puts the name of its exception.
static std::string reasonOf(const std::exception &error)
{
    const std::string text = error.what();
    return plainText(text[0] == '[' ? text.substr(text.find(' ') + 1) : text);
}

static void checkFields(const json &entry, const std::vector<std::string> &fields)
{
    require(entry.is_object(), "not an object: it must begin with {");
    for (const auto &item : entry.items())
        require(std::find(fields.begin(), fields.end(), item.key()) != fields.end(),
                '"' + item.key() + "\" is not a field here");
}

void readEntries(const std::string &path, const std::vector<std::string> &fields,
                 const std::function<void(const json &entry)> &take)
{
    std::size_t number = 0;     // of the present entry
    std::set<std::string> keys; // of the present entry
    const auto refuseRepeatedKeys = [&](int depth, json::parse_event_t event, const json &parsed) {
        if (event == json::parse_event_t::object_start && depth == 1) {
            ++number;
            keys.clear();
        } else if (event == json::parse_event_t::key) {
            const std::string key = parsed;
            require(keys.insert(key).second, '"' + key + "\" is there twice");
        }
        return true;
    };
    try {
        std::ifstream file(path);
        require(file.is_open(), strerror(errno));
        json list = json::parse(file, refuseRepeatedKeys, THROW_ERRORS, IGNORE_COMMENTS);
        number = 0;
        require(list.is_array(), "not a list: it must begin with [");
        for (json &listed : list) {
            const json entry = std::move(listed); // errors then name its fields without the list
            ++number;
            checkFields(entry, fields);
            take(entry);
        }
    } catch (const std::exception &error) {
        const std::string place = number == 0 ? "" : "entry " + std::to_string(number) + ": ";
        throw std::runtime_error(pathForPeople(path) + ": " + place + reasonOf(error));
    }
}

void replaceFile(const std::string &path, const std::string &text, mode_t mode)
{
    const std::string temporary = path + ".new";
    unlink(temporary.c_str()); // a power cut may have left one with another mode
    const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file != -1)
        errno = ENOSPC; // a short write sets no errno: the device is full
    const bool written =
        file != -1 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size())
        && fsync(file) == 0 && rename(temporary.c_str(), path.c_str()) == 0;
    const std::string reason = strerror(errno);
    close(file);
    require(written, "cannot write " + pathForPeople(path) + ": " + reason);
}
