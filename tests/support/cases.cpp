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

std::string content(const std::string &path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

std::string replaced(std::string text, const Pairs &pairs)
{
    for (const auto &[what, by] : pairs)
        for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
            text.replace(at, what.size(), by);
    return text;
}

std::string expanded(std::string text)
{
    for (std::size_t at = 0; (at = text.find('}', at)) != std::string::npos; ++at) {
        const std::size_t begin = text.rfind('{', at), star = text.rfind('*', at);
        if (begin == std::string::npos || star == std::string::npos || star < begin)
            continue;
        const std::string one = text.substr(begin + 1, star - begin - 1);
        const bool numbered = one.find('%') != std::string::npos;
        const auto times = toNumber<int>(text.substr(star + 1, at - star - 1));
        std::string all;
        for (int i = 0; i < times; ++i)
            all += numbered
                       ? replaced(one, {{"%i", std::to_string(i)}, {"%j", std::to_string(i + 1)}})
                       : one;
        text.replace(begin, at + 1 - begin, all);
        at = begin + all.size() - 1;
    }
    return text;
}

void require(bool condition, const std::string &message)
{
    if (!condition)
        throw WrongLine(message);
}

std::string shown(const std::string &text)
{
    const std::size_t most = 500;
    return '"' + replaced(text.substr(0, most), {{"\r", "\\r"}, {"\n", "\\n"}})
           + (text.size() > most ? "\"... (" + std::to_string(text.size()) + " bytes)" : "\"");
}

void requireSame(const std::string &what, const std::string &expected, const std::string &actual)
{
    require(expected == actual, what + ": expected " + shown(expected) + ", got " + shown(actual));
}

bool Dialect::set(const std::string &line)
{
    static const std::regex given("given (?:(fresh)(?: [|] |$))?(.*)");
    std::smatch match;
    if (!std::regex_match(line, match, given))
        return setOther(line);
    give(match[1].matched, match[2]);
    return true;
}

void Dialect::run(const std::string &line)
{
    const Lines sides = split(line, " -> "), steps = split(sides[0], " ; ");
    require(sides.size() <= 2, "more than one ->");
    if (sides.size() == 1)
        return require(set(line), "no such line: " + shown(line));
    for (const std::string &step : steps)
        try {
            if (&step == &steps.back() || !set(step))
                send(step, sides[1]);
        } catch (const WrongLine &wrong) {
            throw WrongLine((steps.size() > 1 ? step + ": " : "") + wrong.what());
        }
}

std::vector<Section> readSections(const std::string &text)
{
    std::vector<Section> sections;
    Section start = {"", 0, {}}; // the lines before the first title
    std::set<std::string> names;
    int number = 0;
    for (const std::string &line : split(text, "\n")) {
        ++number;
        if (line[0] == '[') {
            require(line.back() == ']', "a title is written [Title]: " + shown(line));
            start.name =
                std::regex_replace(line.substr(1, line.size() - 2), std::regex("\\W+"), "_");
            require(names.insert(start.name).second, "a second section: " + shown(line));
            sections.push_back({start.name, number, start.lines});
        } else if (!line.empty() && line[0] != '#')
            (sections.empty() ? start : sections.back()).lines.emplace_back(number, line);
    }
    require(!sections.empty(), "no section");
    for (const auto &[name, line, lines] : sections)
        require(std::any_of(
                    lines.begin(), lines.end(),
                    [](const auto &each) { return each.second.find(" -> ") != std::string::npos; }),
                "a section without a request: " + name);
    return sections;
}

void run(const std::string &path, const Section &section, const MakeDialect &make)
{
    const std::unique_ptr<Dialect> dialect = make();
    const auto attempt = [&](int line, const std::function<void()> &action) {
        try {
            action();
        } catch (const WrongLine &wrong) {
            ADD_FAILURE_AT(path.c_str(), line) << wrong.what();
        }
    };
    for (const auto &[line, text] : section.lines)
        attempt(line, [&dialect, &text = text] { dialect->run(text); });
    attempt(section.lines.back().first, [&] { dialect->end(); });
}

struct CaseTest : testing::Test {
    std::function<void()> body;
    void TestBody() override { body(); }
};

void registerCases(const std::string &folder, const MakeDialect &make)
{
    const fs::directory_iterator files(CASES_FOLDER "/" + folder);
    for (const fs::path &path : std::set<fs::path>(begin(files), end(files))) {
        if (path.extension() != ".cases")
            continue;
        for (const Section &section : readSections(content(path)))
            testing::RegisterTest((folder + "_" + path.stem().string()).c_str(),
                                  section.name.c_str(), nullptr, nullptr, path.c_str(),
                                  section.line, [=]() -> testing::Test * {
                                      auto *const test = new CaseTest;
                                      test->body = [=] { run(path, section, make); };
                                      return test;
                                  });
    }
}
