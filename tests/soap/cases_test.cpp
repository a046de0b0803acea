// tests/soap/cases_test.cpp: runs the operations' cases, which are written in the *.cases files.
//
//   [What the cases of this section show]            one test; starts from a fresh host
//   given NAME=VALUE | ...                           sets the host up again for the lines that follow
//   OPERATION FIELD=VALUE | ... -> EXPECTED | ...    a request and all that must come of it:
//     return TEXT, no return, fault TEXT, detail TEXT,
//     calls F(A,B) G()   the host's share, all of it (none when left out)
//     quiet TEXT         the fault that is recorded behind an ordinary response
//     level N            asked of the gate; the case is run again with every verdict that refuses
//
// {x*300} stands for 300 times x; it nests. Every request is sent in SOAP 1.1 and 1.2, its children in order
// and reversed among strangers; all four must give the same.
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <soapH.h>
#include <sstream>

#include "support/fake_host.h"
#include "support/wire.h"

using Pairs = std::vector<std::pair<std::string, std::string>>;

static std::vector<std::string> split(const std::string &text, const std::string &separator)
{
    std::vector<std::string> parts;
    std::size_t begin = 0;
    for (std::size_t end; (end = text.find(separator, begin)) != std::string::npos;
         begin = end + separator.size())
        parts.push_back(text.substr(begin, end - begin));
    parts.push_back(text.substr(begin));
    return parts;
}

static std::string expanded(std::string text)
{
    static const std::regex INNERMOST("\\{([^{}]*)\\*(\\d+)\\}");
    for (std::smatch match; std::regex_search(text, match, INNERMOST);) {
        std::string repeated;
        for (int i = std::stoi(match[2]); i > 0; --i)
            repeated += match[1];
        text = match.prefix().str() + repeated + match.suffix().str();
    }
    return text;
}

// "A=1 | B=2" with the separator "=", "return x | calls f()" with a blank.
static Pairs pairs(const std::string &text, char separator)
{
    Pairs result;
    for (const std::string &part : split(text, " | ")) {
        const std::size_t end = part.find(separator);
        if (!part.empty())
            result.emplace_back(part.substr(0, end),
                                end == std::string::npos ? "" : expanded(part.substr(end + 1)));
    }
    return result;
}

static std::string escaped(std::string text)
{
    for (const auto &[plain, escape] : Pairs{{"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}})
        for (std::size_t at = 0; (at = text.find(plain, at)) != std::string::npos; at += 4)
            text.replace(at, 1, escape);
    return text;
}

struct Reply {
    std::string text;     // the envelope
    std::string recorded; // fault string, sent or not
};

// Serves an envelope without a socket.
static Reply serve(const std::string &request)
{
    const std::unique_ptr<struct soap> soap(new struct soap);
    soap_init2(soap.get(), 0x2000000, 0x2000000);
    std::istringstream in(request);
    std::ostringstream out;
    soap->is = &in;
    soap->os = &out;
    soap_serve(soap.get());
    const char *fault = soap->fault == nullptr ? nullptr : *soap_faultstring(soap.get());
    const Reply reply = {out.str(), fault == nullptr ? "" : fault};
    soap_destroy(soap.get());
    soap_end(soap.get());
    return reply;
}

class Case : public testing::Test {
    std::vector<std::string> lines_;
    std::unique_ptr<FakeHost> fake_;

    void prepare(const std::string &given)
    {
        fake_.reset();
        fake_ = std::make_unique<FakeHost>();
        installSecurityHooks();
        FakeHost &fake = *fake_;
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
            {"now", [&](const auto &v) { fake.now = std::stol(v); }},
            {"names", [&](const auto &v) { fake.names = split(v, ","); }},
            {"count", [&](const auto &v) { fake.namesCount = std::stoi(v); }}};
        for (const auto &[name, value] : pairs(given, '='))
            set.at(name)(value);
    }

    static void expectFault(const Reply &reply, bool soap12, const std::string &text,
                            const std::string &detail)
    {
        const std::string before = soap12 ? "<SOAP-ENV:Text xml:lang=\"en\">" : "<faultstring>";
        EXPECT_THAT(reply.text, testing::HasSubstr(before + text + "</"));
        const std::string open = soap12 ? "<SOAP-ENV:Detail>" : "<detail>";
        if (detail.empty())
            EXPECT_THAT(reply.text, testing::Not(testing::HasSubstr(open)));
        else
            EXPECT_THAT(reply.text, testing::HasSubstr(open + detail + "</"));
    }

    void check(const std::string &operation, const Reply &reply, bool soap12, const Pairs &expected)
    {
        std::string calls;
        for (const std::string &call : fake_->calls())
            calls += (calls.empty() ? "" : " ") + call;
        std::map<std::string, std::string> wanted(expected.begin(), expected.end());
        EXPECT_EQ(wanted["calls"], calls);
        if (wanted.count("fault") != 0)
            return expectFault(reply, soap12, wanted["fault"], wanted["detail"]);
        const std::string element = "ns:" + operation + "Response>";
        std::string content = "<return>" + escaped(wanted["return"]) + "</return>";
        if (wanted["return"].empty())
            content = wanted.count("no") != 0 ? "" : "<return/>";
        EXPECT_THAT(reply.text, testing::HasSubstr("<" + element + content + "</" + element));
        EXPECT_EQ(wanted["quiet"], reply.recorded);
        if (wanted.count("level") != 0) {
            EXPECT_EQ(wanted["level"], std::to_string(fake_->askedLevel));
        }
    }

    // In both versions and both orders, each with a host of its own.
    void run(const std::string &given, const std::string &operation, const Pairs &fields,
             const Pairs &expected)
    {
        for (const bool soap12 : {false, true})
            for (const bool reversed : {false, true}) {
                SCOPED_TRACE((soap12 ? "SOAP 1.2 " : "SOAP 1.1 ")
                             + std::string(reversed ? "reversed" : "in order") + " given " + given);
                std::string children = reversed ? "<stranger>x</stranger>" : "";
                for (const auto &[name, value] : fields) {
                    const std::string child = "<" + name + ">" + escaped(value) + "</" + name + ">";
                    children = reversed ? child + children : children + child;
                }
                prepare(given);
                check(operation, serve(envelope(operation, children, soap12)), soap12, expected);
            }
    }

    void runRefused(const std::string &given, const std::string &operation, const Pairs &fields)
    {
        for (const char *refusal :
             {"verdict=2", "verdict=1", "verdict=0", "verdict=4", "verdict=-1", "no gate"}) {
            const bool unknown = refusal == std::string("verdict=2") || *refusal == 'n';
            run(given + " | " + refusal, operation, fields,
                {{"fault", unknown ? "WebServer Error: Authentication error"
                                   : "WebServer Error: Not allowed"},
                 {"detail", "ns__" + operation}});
        }
    }

public:
    explicit Case(std::vector<std::string> lines) : lines_(std::move(lines)) {}

    void SetUp() override
    {
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        tzset();
    }

    void TestBody() override
    {
        std::string given;
        for (const std::string &line : lines_) {
            SCOPED_TRACE(line);
            if (line.rfind("given ", 0) == 0) {
                given = line.substr(6);
                continue;
            }
            const std::vector<std::string> sides = split(line, " -> ");
            ASSERT_EQ(2U, sides.size());
            const std::string operation = split(sides[0], " ")[0];
            const Pairs fields =
                pairs(sides[0].substr(std::min(sides[0].size(), operation.size() + 1)), '=');
            const Pairs expected = pairs(sides[1], ' ');
            run(given, operation, fields, expected);
            for (const auto &[kind, value] : expected)
                if (kind == "level")
                    runRefused(given, operation, fields);
        }
    }
};

static void registerSection(const std::string &suite, const std::string &title,
                            const std::vector<std::string> &lines)
{
    if (!lines.empty())
        testing::RegisterTest(
            suite.c_str(), std::regex_replace(title, std::regex("\\W+"), "_").c_str(), nullptr,
            nullptr, __FILE__, __LINE__, [lines]() -> testing::Test * { return new Case(lines); });
}

void registerCases()
{
    for (const char *suite : {"core_db", "device", "user_admin"}) {
        std::ifstream file(std::string(CASES_FOLDER) + "/" + suite + ".cases");
        std::string line, title;
        std::vector<std::string> lines;
        while (std::getline(file, line))
            if (line[0] == '[') {
                registerSection(suite, title, lines);
                title = line.substr(1, line.size() - 2);
                lines.clear();
            } else if (!line.empty() && line[0] != '#') {
                lines.push_back(line);
            }
        registerSection(suite, title, lines);
    }
}
