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

using nlohmann::json;

static const std::size_t MAX_TEXT_BYTES = 300;
static const bool IGNORE_COMMENTS = true;

static const char *const KIND_NAMES[] = { // by FieldKind
    "a text of at most 300 bytes without control characters", "a number", "true or false",
    "a list"};

static bool isPlainText(const std::string &text)
{
    const auto isControl = [](unsigned char byte) { return byte < ' ' || byte == 0x7f; };
    return text.size() <= MAX_TEXT_BYTES && std::none_of(text.begin(), text.end(), isControl);
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

static std::string quoted(const std::string &text)
{
    return '"' + text + '"';
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
            return quoted(item.key()) + " must be " + KIND_NAMES[field->kind];
    }
    for (const Field &field : fields)
        if (field.required && !object.contains(field.name))
            return quoted(field.name) + " is missing";
    return {};
}

// Without the parser's own number for it, which stands in brackets.
static std::string reasonOf(const json::exception &error)
{
    const std::string text = error.what();
    const std::size_t bracket = text.find("] ");
    return bracket == std::string::npos ? text : text.substr(bracket + 2);
}

int refuseLine(const std::string &path, long line, const std::string &reason)
{
    fprintf(stderr, "sim: %s:%ld: %s\n", path.c_str(), line, reason.c_str());
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
            refuse(position(), parsed.dump() + " is there twice");
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
        return reason_.empty() ? 0 : refuseLine(path, wrongLine(), reason_);
    }
};

} // namespace

int readObjects(const std::string &path, const std::vector<Field> &fields, const TakeObject &take)
{
    std::string text;
    if (readFile(path, &text) != 0) {
        fprintf(stderr, "sim: %s: %s\n", path.c_str(), strerror(errno));
        return -1;
    }
    return ListReader(text, fields, take).read(path);
}
