// tests/soap/cases_test.cpp: runs the operations' cases, which are written in the *.cases files.
//
//   given NAME=VALUE | ...                           a fresh host for the lines that follow
//   OPERATION FIELD=VALUE | ... -> EXPECTED | ...    a request and all that must come of it:
//     return TEXT, no return, fault TEXT, detail TEXT,
//     calls F(A,B) G()   the host's share, all of it (none when left out)
//     quiet TEXT         the fault that is recorded behind an ordinary response
//     asks N             the level asked of the gate
//     level N            the same; and the case is run again with every verdict that refuses
//
// A field's value is sent as it stands when it begins with "XML:", else escaped. Every request is
// sent in SOAP 1.1 and 1.2, its children in order and reversed among strangers; all four must give
// the same.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <soapH.h>
#include <sstream>

#include "support/cases.h"
#include "support/wire.h"

static std::string escaped(std::string text)
{
    if (text.rfind("XML:", 0) == 0)
        return text.substr(4);
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
    soap_done(soap.get());
    return reply;
}

class Case : public testing::Test {
    Lines lines_;
    std::unique_ptr<FakeHost> fake_;

    void prepare(const std::string &given)
    {
        fake_.reset();
        fake_ = std::make_unique<FakeHost>();
        installSecurityHooks();
        apply(*fake_, given);
    }

    static void expectFault(const Reply &reply, bool soap12, const std::string &text,
                            const std::string &detail)
    {
        EXPECT_THAT(reply.text, testing::HasSubstr(soap12 ? "<SOAP-ENV:Value>SOAP-ENV:Receiver<"
                                                          : "<faultcode>SOAP-ENV:Server<"));
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
        std::replace_if(calls.begin(), calls.end(), iscntrl, '?');
        std::map<std::string, std::string> wanted(expected.begin(), expected.end());
        for (const auto &[kind, value] : expected)
            ASSERT_THAT(kind, testing::AnyOf("return", "no", "fault", "detail", "calls", "quiet",
                                             "asks", "level"));
        EXPECT_EQ(wanted["calls"], calls);
        if (wanted.count("fault") != 0)
            return expectFault(reply, soap12, wanted["fault"], wanted["detail"]);
        const std::string element = "ns:" + operation + "Response>";
        std::string content = "<return>" + escaped(wanted["return"]) + "</return>";
        if (wanted["return"].empty())
            content = wanted.count("no") != 0 ? "" : "<return/>";
        EXPECT_THAT(reply.text, testing::HasSubstr("<" + element + content + "</" + element));
        EXPECT_EQ(wanted["quiet"], reply.recorded);
        for (const char *kind : {"asks", "level"})
            if (wanted.count(kind) != 0) {
                EXPECT_EQ(wanted[kind], std::to_string(fake_->askedLevel));
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
                const Reply reply = serve(envelope(operation, children, soap12));
                recordReply(operation + " " + given, reply.text);
                check(operation, reply, soap12, expected);
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
    explicit Case(const Lines &lines) : lines_(lines) {}

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
            if (line.rfind("given", 0) == 0) {
                given = line.substr(5);
                continue;
            }
            const Lines sides = split(line, " -> ");
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

void registerSoapCases()
{
    for (const char *file : {"soap/core_db", "soap/device", "soap/user_admin"})
        registerCases(file, [](const Lines &lines) -> testing::Test * { return new Case(lines); });
}
