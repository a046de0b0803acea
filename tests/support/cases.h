// tests/support/cases.h: reads and runs the tests that are written as data; CASES.md has the language.
#pragma once

#include <charconv>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/fake_host.h"

using Pairs = std::vector<std::pair<std::string, std::string>>;
using Lines = std::vector<std::string>;

// Thrown for a line that is not in the language or that the library does not answer as expected.
struct WrongLine : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Gives the lines of a section their meaning. Every section gets a new one. Its functions throw WrongLine.
class Dialect {
    bool set(const std::string &line);

protected:
    // Sends a request and compares what comes back with what is expected.
    virtual void send(const std::string &request, const std::string &expected) = 0;

    // Changes the host by settings, "NAME=VALUE | NAME" or nothing; fresh: takes earlier ones back first.
    virtual void give(bool fresh, const std::string &settings) = 0;

    // Does what the line says that is neither a request nor `given`. Returns false if there is no such line.
    virtual bool setOther(const std::string &) { return false; }

public:
    virtual ~Dialect() = default;

    // Does what a line says.
    void run(const std::string &line);

    // Is called after the last line; throws WrongLine when one of them had no effect.
    virtual void end() {}
};

using MakeDialect = std::function<std::unique_ptr<Dialect>()>;

std::unique_ptr<Dialect> makeSoapDialect(); // soap/soap_cases.cpp
std::unique_ptr<Dialect> makeWebDialect();  // web/web_cases.cpp

struct Section {
    std::string name; // of its test, made of the title
    int line;
    std::vector<std::pair<int, std::string>> lines; // with their numbers
};

// Returns all sections of a file, at least one. Throws WrongLine when it is not made of sections.
std::vector<Section> readSections(const std::string &text);

// Runs the lines of a section. A wrong line is a failure of the running test, at its line of the file.
void run(const std::string &path, const Section &section, const MakeDialect &make);

// Registers every section of CASES_FOLDER/folder/*.cases as a test.
void registerCases(const std::string &folder, const MakeDialect &make);

// ---- For the dialects ----

// Changes the host by "NAME=VALUE | NAME". Throws WrongLine for what CASES.md does not have.
void give(FakeHost &fake, const std::string &settings);

Lines split(const std::string &text, const std::string &separator);

// Returns what a file holds, nothing when it cannot be read.
std::string content(const std::string &path);

// Replaces each first text of the pairs by its second, one pair after the other.
std::string replaced(std::string text, const Pairs &pairs);

// Replaces {x*300} by 300 times x, inner ones first.
std::string expanded(std::string text);

// Throws WrongLine with the message unless the condition holds.
void require(bool condition, const std::string &message);

// Throws WrongLine with both texts unless they are equal.
void requireSame(const std::string &what, const std::string &expected, const std::string &actual);

// Returns the text in quotes with visible line ends, cut to a length that can be read.
std::string shown(const std::string &text);

// Returns the whole text as a number; throws WrongLine when it is not one.
template <typename Number> Number toNumber(const std::string &text)
{
    Number number{};
    const char *const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    require(error == std::errc() && rest == end, "no number: " + shown(text));
    return number;
}
