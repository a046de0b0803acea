// tests/support/cases.cpp: tests written as data.
#include "support/cases.h"

#include <fstream>
#include <map>
#include <regex>

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

// From the last brace to the first, so that inner ones come before outer ones.
std::string expanded(std::string text)
{
    for (std::size_t at = text.rfind('{'); at != std::string::npos;
         at = at == 0 ? std::string::npos : text.rfind('{', at - 1)) {
        const std::size_t end = text.find('}', at);
        const std::size_t star = text.rfind('*', end);
        if (end == std::string::npos || star == std::string::npos || star < at)
            continue;
        const std::string piece = text.substr(at + 1, star - at - 1);
        std::string repeated;
        for (int i = std::stoi(text.substr(star + 1)); i > 0; --i)
            repeated += piece;
        text.replace(at, end + 1 - at, repeated);
    }
    return text;
}

Pairs pairs(const std::string &text, char separator)
{
    Pairs result;
    for (std::string part : split(text, " | ")) {
        if (separator == '=')
            part.erase(0, part.find_first_not_of(' '));
        const std::size_t end = part.find(separator);
        if (!part.empty())
            result.emplace_back(part.substr(0, end),
                                end == std::string::npos ? "" : expanded(part.substr(end + 1)));
    }
    return result;
}

void apply(FakeHost &fake, const std::string &given)
{
    const std::map<std::string, std::function<void(const std::string &)>> set = {
        {"verdict", [&](const auto &v) { fake.verdict = std::stoi(v); }},
        {"no gate", [&](const auto &) { pgf_parseAuth = nullptr; }},
        {"no hooks", [&](const auto &) { removeSecurityHooks(); }},
        {"csEnabled", [&](const auto &v) { g_csEnabled = std::stoi(v); }},
        {"highLevel", [&](const auto &v) { g_highLevel = std::stoi(v); }},
        {"remote", [&](const auto &v) { g_webRemote = std::stoi(v); }},
        {"status", [&](const auto &v) { fake.status = std::stoi(v); }},
        {"read", [&](const auto &v) { fake.readResult = std::stoi(v); }},
        {"point", [&](const auto &v) { fake.point = v; }},
        {"answer", [&](const auto &v) { fake.answer = v; }},
        {"answerStatus", [&](const auto &v) { fake.answerStatus = std::stoi(v); }},
        {"coreDb", [&](const auto &v) { fake.coreDbVersion = v; }},
        {"no coreDb", [&](const auto &) { fake.coreDbVersion.reset(); }},
        {"timeModule", [&](const auto &v) { fake.timeModule = std::stoi(v); }},
        {"timeSource", [&](const auto &v) { fake.timeSource = std::stoi(v); }},
        {"now", [&](const auto &v) { fake.now = static_cast<time_t>(std::stoll(v)); }},
        {"names", [&](const auto &v) { fake.names = split(v, ","); }},
        {"timeout", [&](const auto &v) { sessTimeOut = std::stoi(v); }},
        {"strdups", [&](const auto &v) { fake.strdups = std::stoi(v); }},
        {"silent", [&](const auto &) { fake.silent = true; }},
        {"no room", [&](const auto &v) { fake.noRoom = std::stoul(v); }},
        {"no close", [&](const auto &) { pgf_closeSession = nullptr; }},
        {"no time", [&](const auto &) { fake.noTime = true; }},
        {"level", [&](const auto &v) { fake.level = std::stoi(v); }},
        {"id", [&](const auto &v) { fake.sessionId = v; }},
        {"sessionStatus", [&](const auto &v) { fake.sessionStatus = std::stoi(v); }},
        {"ms", [&](const auto &v) { fake.milliseconds = static_cast<uint32_t>(std::stoul(v)); }},
        {"count", [&](const auto &v) { fake.namesCount = std::stoi(v); }}};
    for (const auto &[name, value] : pairs(given, '='))
        set.at(name)(value);
}

static void registerSection(const std::string &suite, const std::string &title, const Lines &lines,
                            testing::Test *(*make)(const Lines &))
{
    const std::string name = std::regex_replace(title, std::regex("\\W+"), "_");
    if (!lines.empty())
        testing::RegisterTest(suite.c_str(), name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [lines, make] { return make(lines); });
}

void registerCases(const std::string &path, testing::Test *(*make)(const Lines &))
{
    const std::string suite = path.substr(path.find('/') + 1);
    std::ifstream file(CASES_FOLDER "/" + path + ".cases");
    if (!file)
        abort(); // a file that is missing must not pass
    std::string line, title;
    Lines lines;
    while (std::getline(file, line))
        if (line[0] == '[') {
            registerSection(suite, title, lines, make);
            title = line.substr(1, line.size() - 2);
            lines.clear();
        } else if (!line.empty() && line[0] != '#') {
            lines.push_back(line);
        }
    registerSection(suite, title, lines, make);
}
