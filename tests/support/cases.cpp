// tests/support/cases.cpp: reads and runs the tests that are written as data; CASES.md has the language.
#include "support/cases.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

Lines split(const std::string &text, const std::string &separator)
{
    Lines parts;
    std::size_t begin = 0;
    for (std::size_t end; (end = text.find(separator, begin)) != std::string::npos;
         begin = end + separator.size())
        parts.push_back(text.substr(begin, end - begin));
    parts.push_back(text.substr(begin));
    return parts;
}

std::string takeWord(std::string *text)
{
    const std::size_t end = text->find(' ');
    std::string word = text->substr(0, end);
    text->erase(0, end == std::string::npos ? end : end + 1);
    return word;
}

std::string content(const std::string &path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

void replaceAll(std::string *text, const std::string &what, const std::string &by)
{
    for (std::size_t at = 0; (at = text->find(what, at)) != std::string::npos; at += by.size())
        text->replace(at, what.size(), by);
}

void require(bool condition, const std::string &message)
{
    if (!condition)
        throw WrongLine(message);
}

std::string shown(const std::string &text)
{
    const std::size_t most = 500;
    std::string start = text.substr(0, most);
    replaceAll(&start, "\r", "\\r");
    replaceAll(&start, "\n", "\\n");
    return '"' + start
           + (text.size() > most ? "\"... (" + std::to_string(text.size()) + " bytes)" : "\"");
}

void requireSame(const std::string &what, const std::string &expected, const std::string &actual)
{
    require(expected == actual, what + ": expected " + shown(expected) + ", got " + shown(actual));
}

Action readSteps(const std::string &text,
                 const std::function<Action(const std::string &step, bool last)> &read)
{
    const Lines steps = split(text, " ; ");
    std::vector<Action> actions;
    for (const std::string &step : steps)
        actions.push_back(read(step, actions.size() + 1 == steps.size()));
    return [=] {
        for (std::size_t i = 0; i < steps.size(); ++i)
            try {
                actions[i]();
            } catch (const WrongLine &wrong) {
                throw WrongLine((steps.size() > 1 ? steps[i] + ": " : "") + wrong.what());
            }
    };
}

// Returns the text up to the brace that closes the group around `at`, or up to the end.
static std::string expandedFrom(const std::string &text, const std::string &kept, std::size_t &at,
                                bool inGroup)
{
    std::string result;
    for (; at < text.size() && text[at] != '}'; ++at) {
        if (text[at] != '{') {
            result += text[at];
            continue;
        }
        const std::size_t begin = ++at;
        std::string inner = expandedFrom(text, kept, at, true);
        const std::string source = text.substr(begin, at - begin);
        const std::size_t star = source.rfind('*');
        if (star != std::string::npos && source.find_first_of("{}", star) == std::string::npos) {
            const int times = toNumber<int>(source.substr(star + 1));
            inner.erase(inner.rfind('*'));
            for (int i = 0; i < times; ++i)
                result += inner;
        } else {
            require(source[0] == '"' || (!kept.empty() && source.rfind(kept, 0) == 0),
                    "neither {TEXT*NUMBER} nor {\"...}: {" + source + "}");
            result += '{' + inner + '}';
        }
    }
    require(inGroup == (at < text.size()), "braces without their other half");
    return result;
}

std::string expanded(const std::string &text, const std::string &kept)
{
    std::size_t at = 0;
    return expandedFrom(text, kept, at, false);
}

static std::string testName(const std::string &title)
{
    return std::regex_replace(title, std::regex("\\W+"), "_");
}

static std::string faultOf(const std::string &text)
{
    if (!text.empty() && (text.back() == ' ' || iscntrl(text.back()) != 0))
        return "ends in a space or in a control character";
    return text[0] == '[' && (text.size() < 3 || text.back() != ']') ? "a title is written [Title]"
                                                                     : "";
}

std::vector<Section> readSections(std::istream &file)
{
    std::vector<Section> sections;
    Section start = {"file", 1, {}, {}}; // the lines before the first title
    std::set<std::string> names;
    std::string text;
    for (int number = 1; std::getline(file, text); ++number) {
        std::string fault = faultOf(text);
        if (text[0] == '[') {
            sections.push_back(start);
            sections.back().title = text.substr(1, text.size() - 2);
            sections.back().line = number;
            if (!names.insert(testName(sections.back().title)).second)
                fault = "a second section of this title";
        }
        Section &section = sections.empty() ? start : sections.back();
        if (!fault.empty())
            section.failures.push_back({number, fault});
        else if (!text.empty() && text[0] != '#' && text[0] != '[')
            section.lines.push_back({number, text});
    }
    if (sections.empty()) {
        start.failures.push_back({1, "no section"});
        sections.push_back(start);
    }
    const auto isRequest = [](const Line &line) {
        return line.text.find(" -> ") != std::string::npos;
    };
    for (Section &section : sections)
        if (section.failures.empty()
            && std::none_of(section.lines.begin(), section.lines.end(), isRequest))
            section.failures.push_back({section.line, "a section without a request"});
    return sections;
}

std::vector<Failure> run(const Section &section, const MakeDialect &make)
{
    std::vector<Failure> failures = section.failures;
    const auto attempt = [&](int line, const Action &action) {
        try {
            action();
        } catch (const std::exception &error) {
            failures.push_back({line, error.what()});
        }
    };
    std::unique_ptr<Dialect> dialect;
    attempt(section.line, [&] { dialect = make(); });
    std::vector<std::pair<int, Action>> actions;
    if (dialect != nullptr)
        for (const Line &line : section.lines)
            attempt(line.number,
                    [&] { actions.emplace_back(line.number, dialect->read(line.text)); });
    if (!failures.empty())
        return failures;
    for (const auto &[line, action] : actions)
        attempt(line, action);
    if (failures.empty())
        attempt(section.lines.back().number, [&] { dialect->end(); });
    return failures;
}

void report(const std::string &path, const std::vector<Failure> &failures)
{
    for (const Failure &failure : failures)
        ADD_FAILURE_AT(path.c_str(), failure.line) << failure.message;
}

class CaseTest : public testing::Test {
    std::string path_;
    Section section_;
    MakeDialect make_;

public:
    CaseTest(std::string path, Section section, MakeDialect make)
        : path_(std::move(path)), section_(std::move(section)), make_(std::move(make))
    {}

    void TestBody() override { report(path_, run(section_, make_)); }
};

void registerCases(const std::string &folder, const MakeDialect &make)
{
    std::vector<fs::path> paths;
    for (const auto &entry : fs::directory_iterator(CASES_FOLDER "/" + folder))
        if (entry.path().extension() == ".cases")
            paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    for (const fs::path &path : paths) {
        std::ifstream file(path);
        std::set<std::string> names;
        for (const Section &section : readSections(file)) {
            std::string name = testName(section.title);
            name += names.insert(name).second ? "" : "_again";
            testing::RegisterTest(
                (folder + "_" + path.stem().string()).c_str(), name.c_str(), nullptr, nullptr,
                path.c_str(), section.line,
                [=]() -> testing::Test * { return new CaseTest(path, section, make); });
        }
    }
}
