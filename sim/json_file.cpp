// sim/json_file.cpp: reads lists of objects in JSON.
#include "json_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "files.h"
#include "plain_text.h"
#include "state_folder.h"

using nlohmann::json;

static const std::size_t MAX_TEXT_BYTES = 300;
static const bool IGNORE_COMMENTS = true;

static std::string kindName(FieldKind kind)
{
    switch (kind) {
    case TEXT:
        return "a text of at most " + std::to_string(MAX_TEXT_BYTES)
               + " bytes without control characters";
    case NUMBER:
        return "a number";
    case FLAG:
        return "true or false";
    case LIST:
        return "a list";
    }
    return {};
}

static bool isPlainText(const std::string &text)
{
    std::size_t plain = 0;
    while (text[plain] != '\0' && unfitBytes(&text[plain]) == 0)
        ++plain;
    return plain == text.size() && plain <= MAX_TEXT_BYTES;
}

static bool isOfKind(const json &value, FieldKind kind)
{
    switch (kind) {
    case TEXT:
        return value.is_string() && isPlainText(value.get_ref<const std::string &>());
    case NUMBER:
        return value.is_number();
    case FLAG:
        return value.is_boolean();
    case LIST:
        return value.is_array();
    }
    return false;
}

std::string quoted(const std::string &text)
{
    return json(text).dump(-1, ' ', true);
}

static std::string checkFields(const json &object, const std::vector<Field> &fields)
{
    for (const auto &item : object.items()) {
        const auto field = std::find_if(fields.begin(), fields.end(), [&item](const Field &known) {
            return item.key() == known.name;
        });
        if (field == fields.end())
            return quoted(item.key()) + " is no field here";
        if (!isOfKind(item.value(), field->kind))
            return quoted(item.key()) + " must be " + kindName(field->kind);
    }
    for (const Field &field : fields)
        if (field.required && !object.contains(field.name))
            return quoted(field.name) + " is missing";
    return {};
}

// Without the parser's own number for it, which stands in brackets. It quotes the file as it is.
static std::string reasonOf(const json::exception &error)
{
    std::string text = error.what();
    std::replace_if(
        text.begin(), text.end(), [](char character) { return character < ' ' || character > '~'; },
        '?');
    const std::size_t bracket = text.find("] ");
    return bracket == std::string::npos ? text : text.substr(bracket + 2);
}

int refuseFile(const std::string &path, const std::string &reason)
{
    fprintf(stderr, "sim: %s: %s\n", pathForPeople(path).c_str(), reason.c_str());
    return -1;
}

namespace {

// Follows the parser through the file, and remembers the first thing that is wrong.
class ListReader {
    using Event = json::parse_event_t;

    const std::string &text_;
    const std::vector<Field> &fields_;
    const TakeObject &take_;
    std::istringstream stream_;
    std::set<std::string> keys_;     // of the present object
    std::size_t objectPosition_ = 0; // where it begins
    std::size_t wrongPosition_ = 0;
    std::string reason_;

    std::size_t position() // exact behind a brace and behind a key
    {
        return static_cast<std::size_t>(
            stream_.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in));
    }

    void refuse(std::size_t position, const std::string &reason)
    {
        if (!reason_.empty() || reason.empty())
            return;
        wrongPosition_ = position;
        reason_ = reason;
    }

    long wrongLine() const
    {
        const std::size_t length = std::min(wrongPosition_, text_.size());
        return 1 + std::count(text_.data(), text_.data() + length, '\n');
    }

    // Depth 0 is the list, 1 its objects, 2 their fields. False: the parser may forget the value.
    bool follow(int depth, Event event, const json &parsed)
    {
        if (!reason_.empty())
            return false;
        if (depth == 0 && event != Event::array_start && event != Event::array_end) {
            refuse(0, "not a list: it must begin with [");
        } else if (depth == 1 && event == Event::object_start) {
            keys_.clear();
            objectPosition_ = position();
        } else if (depth == 1 && event == Event::object_end) {
            const std::string wrong = checkFields(parsed, fields_);
            refuse(objectPosition_, wrong.empty() ? take_(parsed) : wrong);
            return false;
        } else if (depth == 1) {
            refuse(position(), "not an object: it must begin with {");
        } else if (depth == 2 && event == Event::key && !keys_.insert(parsed).second) {
            refuse(position(), quoted(parsed) + " is there twice");
        }
        return true;
    }

public:
    ListReader(const std::string &text, const std::vector<Field> &fields, const TakeObject &take)
        : text_(text), fields_(fields), take_(take), stream_(text)
    {}

    int read(const std::string &path)
    {
        const auto callback = [this](int depth, Event event, const json &parsed) {
            return follow(depth, event, parsed);
        };
        try { // the parser has no other way to say what is wrong
            [[maybe_unused]] const json list =
                json::parse(stream_, callback, true, IGNORE_COMMENTS);
        } catch (const json::parse_error &error) { // the last byte that was read counts, too
            refuse(error.byte - 1, reasonOf(error));
        } catch (const json::exception &error) {
            refuse(position(), reasonOf(error));
        }
        return reason_.empty() ? 0 : refuseFile(path + ':' + std::to_string(wrongLine()), reason_);
    }
};

} // namespace

int readObjects(const std::string &path, const std::vector<Field> &fields, const TakeObject &take)
{
    std::string text;
    if (readFile(path, &text) != 0)
        return refuseFile(path, strerror(errno));
    return ListReader(text, fields, take).read(path);
}
