// tests/soap/soap_cases.cpp: the operations' cases: every line is one request to one operation.
#include <algorithm>
#include <regex>
#include <soapH.h>
#include <sstream>

#include "gsoap/serve.h"
#include "support/cases.h"
#include "support/wire.h"

static std::string escaped(const std::string &text)
{
    if (text.rfind("XML:", 0) == 0)
        return text.substr(4);
    return replaced(text, {{"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}});
}

struct Request {
    std::string operation;
    Lines fields; // as elements
};

// Reads OPERATION FIELD=VALUE | ..., which must be declared in the library's interface.
static Request readRequest(const std::string &text)
{
    static const std::string INTERFACE = content(SOAP_INTERFACE);
    const std::size_t space = std::min(text.find(' '), text.size());
    Request request = {text.substr(0, space), {}};
    const std::size_t at = INTERFACE.find("int ns__" + request.operation + "(");
    require(at != std::string::npos, "no operation: " + shown(request.operation));
    const std::string declaration = INTERFACE.substr(at, INTERFACE.find(')', at) - at);
    for (const std::string &part :
         space < text.size() ? split(text.substr(space + 1), " | ") : Lines()) {
        const Lines sides = split(part, "=");
        require(sides.size() > 1 && declaration.find('*' + sides[0] + ',') != std::string::npos,
                request.operation + " has no such field: " + shown(part));
        const std::string value = expanded(part.substr(sides[0].size() + 1));
        request.fields.push_back("<" + sides[0] + ">" + escaped(value) + "</" + sides[0] + ">");
    }
    return request;
}

struct Expected {
    std::string content, fault, detail = "(none)", quiet, level, calls; // content: of the response
    bool refused = false;                                               // when the gate refuses
    bool needsAll = false;
};

#define ANY "((?:(?! [|] ).)*)"
#define TEXT "((?:(?! [|] ).)+)"

static Expected readExpected(const std::string &text)
{
    static const std::regex EXPECTED(
        "(?:(?:no return|(return)(?: " ANY ")?)(?: [|] quiet " TEXT ")?"
        "|fault " TEXT "(?: [|] detail " TEXT ")?)"
        "(?: [|] (asks|level) (-?[0-9]+))?( [|] needs all)?(?: [|] calls " TEXT ")?");
    std::smatch match;
    require(std::regex_match(text, match, EXPECTED), "no expectation: " + shown(text));
    const auto part = [&](std::size_t i) { return expanded(match[i]); };
    Expected expected;
    if (match[1].matched)
        expected.content =
            part(2).empty() ? "<return/>" : "<return>" + escaped(part(2)) + "</return>";
    expected.quiet = part(3);
    expected.fault = part(4);
    if (match[5].matched)
        expected.detail = part(5);
    expected.refused = match[6] == "level";
    expected.level = match[7];
    expected.needsAll = match[8].matched;
    expected.calls = part(9);
    return expected;
}

struct Reply {
    std::string text;     // the envelope
    std::string recorded; // the fault string, whether it was sent or not
};

// Serves an envelope without a socket.
static Reply serve(const std::string &request)
{
    recordRequest(httpPost("", request));
    struct soap *const soap = soap_new1(SOAP_C_UTFSTRING);
    std::istringstream in(request);
    std::ostringstream out;
    soap->is = &in;
    soap->os = &out;
    serveRequests(soap);
    const char *fault = soap->fault == nullptr ? nullptr : *soap_faultstring(soap);
    Reply reply = {out.str(), fault == nullptr ? "" : fault};
    soap_destroy(soap);
    soap_end(soap);
    soap_free(soap);
    return reply;
}

// How the gate refuses, and the reason that the fault names.
static const Pairs REFUSALS = {
    {"verdict=2", "Authentication error"}, {"verdict=1", "Not allowed"},
    {"verdict=0", "Not allowed"},          {"verdict=4", "Not allowed"},
    {"verdict=-1", "Not allowed"},         {"no gate", "Authentication error"}};

class SoapCases : public Dialect {
    Lines given_; // since the section began

    static void check(const std::string &operation, const Reply &reply, bool soap12,
                      const Expected &expected, const FakeHost &fake)
    {
        // What the reply has between the two tags.
        const auto requireIn = [&](const std::string &open, const std::string &close,
                                   const std::string &what, const std::string &wanted) {
            const Lines parts = split(reply.text, open);
            requireSame(what, wanted, parts.size() < 2 ? "(none)" : split(parts[1], close)[0]);
        };
        if (!expected.fault.empty()) {
            requireIn(soap12 ? "<SOAP-ENV:Text xml:lang=\"en\">" : "<faultstring>", "</", "fault",
                      expected.fault);
            requireIn(soap12 ? "<SOAP-ENV:Value>" : "<faultcode>", "</", "fault code",
                      soap12 ? "SOAP-ENV:Receiver" : "SOAP-ENV:Server");
            requireIn(soap12 ? "<SOAP-ENV:Detail>" : "<detail>", "</", "detail", expected.detail);
        } else {
            const std::string element = "ns:" + operation + "Response>";
            requireIn("<" + element, "</" + element, "return", expected.content);
            requireSame("quiet", expected.quiet, reply.recorded);
        }
        std::string calls = fake.callsText();
        std::replace_if(calls.begin(), calls.end(), iscntrl, '?');
        requireSame("calls", expected.calls, calls);
        if (!expected.level.empty())
            requireSame("level asked", expected.level, std::to_string(fake.askedLevel));
    }

    // Sends the request in both SOAP versions, with its fields in order, and reversed before an unknown
    // element. Each time the host is a new one; `given` are further changes.
    void send(const Request &request, const Expected &expected, const std::string &given) const
    {
        for (const bool soap12 : {false, true})
            for (const bool reversed : {false, true}) {
                std::string children = reversed ? "<stranger>x</stranger>" : "";
                for (const std::string &field : request.fields)
                    children.insert(reversed ? 0 : children.size(), field);
                FakeHost fake;
                installSecurityHooks();
                for (const std::string &settings : given_)
                    ::give(fake, settings);
                ::give(fake, given);
                const Reply reply = serve(envelope(request.operation, children, soap12));
                const std::string variant = std::string(soap12 ? "SOAP 1.2, " : "SOAP 1.1, ")
                                            + (reversed ? "reversed" : "in order")
                                            + (given.empty() ? "" : ", given " + given);
                recordReply(request.operation + " (" + variant + ")", reply.text);
                try {
                    check(request.operation, reply, soap12, expected, fake);
                } catch (const WrongLine &wrong) {
                    throw WrongLine(variant + ": " + wrong.what());
                }
            }
    }

    void send(const std::string &text, const std::string &expectedText) override
    {
        const Request request = readRequest(text);
        const Expected expected = readExpected(expectedText);
        const auto sendRefused = [&](const Request &refused, auto &given, const std::string &why) {
            Expected refusal;
            refusal.fault = "WebServer Error: " + why;
            refusal.detail = "ns__" + request.operation;
            send(refused, refusal, given);
        };
        send(request, expected, "");
        if (expected.refused)
            for (const auto &[given, reason] : REFUSALS)
                sendRefused(request, given, reason);
        for (std::size_t i = 0; expected.needsAll && i < request.fields.size(); ++i) {
            Request rest = request;
            rest.fields.erase(rest.fields.begin() + static_cast<std::ptrdiff_t>(i));
            // The gate would refuse this as well, but is asked later.
            sendRefused(rest, "verdict=1", "Invalid parameters");
        }
    }

    void give(bool fresh, const std::string &settings) override
    {
        if (fresh)
            given_.clear();
        given_.push_back(settings);
        FakeHost fake;
        ::give(fake, settings); // fails at this line when they are wrong
    }
};

std::unique_ptr<Dialect> makeSoapDialect()
{
    return std::make_unique<SoapCases>();
}
