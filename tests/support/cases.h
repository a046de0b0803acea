// tests/support/cases.h: reads and runs the tests that are written as data; CASES.md has the language.
#pragma once

#include <charconv>
#include <functional>
#include <iosfwd>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// Thrown for a line that is not in the language or that the library does not answer as expected.
struct WrongLine : std::runtime_error {
    using std::runtime_error::runtime_error;
};

using Action = std::function<void()>;

// Gives the lines of a section their meaning. Every section gets a new one.
class Dialect {
public:
    virtual ~Dialect() = default;

    // Returns what the line does; throws WrongLine when it is not in the language.
    virtual Action read(const std::string &line) = 0;

    // Is called when all lines have passed; throws WrongLine when one of them had no effect.
    virtual void end() {}
};

using MakeDialect = std::function<std::unique_ptr<Dialect>()>;

std::unique_ptr<Dialect> makeSoapDialect(); // soap/soap_cases.cpp
std::unique_ptr<Dialect> makeWebDialect();  // web/web_cases.cpp

struct Line {
    int number;
    std::string text;
};

struct Failure {
    int line;
    std::string message;
};

struct Section {
    std::string title;
    int line;
    std::vector<Line> lines;
    std::vector<Failure> failures; // found when the file was read
};

// Returns all sections of a file, at least one. What is wrong in the file is a failure of a section.
std::vector<Section> readSections(std::istream &file);

// Runs the lines of a section if all of them are in the language. Returns one failure for each wrong line.
std::vector<Failure> run(const Section &section, const MakeDialect &make);

// Reports every failure at its line of the file.
void report(const std::string &path, const std::vector<Failure> &failures);

// Registers every section of CASES_FOLDER/folder/*.cases as a test.
void registerCases(const std::string &folder, const MakeDialect &make);

// ---- For the dialects ----

using Pairs = std::vector<std::pair<std::string, std::string>>;
using Lines = std::vector<std::string>;

Lines split(const std::string &text, const std::string &separator);

// Removes the first word of the text and the space that follows it; returns the word.
std::string takeWord(std::string *text);

// Returns what a file holds, nothing when it cannot be read.
std::string content(const std::string &path);

void replaceAll(std::string *text, const std::string &what, const std::string &by);

// Replaces {x*300} by 300 times x and keeps JSON. Throws WrongLine for any other braces, except around what
// begins with `kept`.
std::string expanded(const std::string &text, const std::string &kept = "");

// Throws WrongLine with the message unless the condition holds.
void require(bool condition, const std::string &message);

// Throws WrongLine with both texts unless they are equal.
void requireSame(const std::string &what, const std::string &expected, const std::string &actual);

// Reads STEP ; STEP. Returns what runs all steps in their order; the failure of one of several begins with
// the step.
Action readSteps(const std::string &text,
                 const std::function<Action(const std::string &step, bool last)> &read);

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
