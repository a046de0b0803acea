// tests/soap/soap_cases.cpp: the operations' cases: every line is one request to one operation.
#include <algorithm>
#include <map>
#include <regex>
#include <soapH.h>
#include <sstream>

#include "gsoap/serve.h"
#include "support/cases.h"
#include "support/given.h"
#include "support/wire.h"

// The fields of every operation, as the library declares them.
static const std::map<std::string, Lines> &operations()
{
    static const std::map<std::string, Lines> operations = [] {
        const std::string text = content(SOAP_INTERFACE);
        std::map<std::string, Lines> result;
        const std::regex declaration(R"(int ns__(\w+)\(([^)]*)\))"), field(R"(\*(\w+))");
        for (std::sregex_iterator at(text.begin(), text.end(), declaration), end; at != end; ++at) {
            const std::string parameters = (*at)[2];
            result[(*at)[1]] =
                Lines(std::sregex_token_iterator(parameters.begin(), parameters.end(), field, 1),
                      std::sregex_token_iterator());
        }
        return result;
    }();
    return operations;
}

static std::string escaped(std::string text)
{
    if (text.rfind("XML:", 0) == 0)
        return text.substr(4);
    replaceAll(&text, "&", "&amp;");
    replaceAll(&text, "<", "&lt;");
    replaceAll(&text, ">", "&gt;");
    return text;
}

struct Request {
    std::string operation;
    Pairs fields;
};

static Request readRequest(std::string text)
{
    Request request;
    request.operation = takeWord(&text);
    const auto known = operations().find(request.operation);
    require(known != operations().end(), "no operation: " + shown(request.operation));
    if (text.empty())
        return request;
    for (const std::string &part : split(text, " | ")) {
        const std::size_t end = part.find('=');
        const std::string name = part.substr(0, end);
        require(end != std::string::npos, "a field without a value: " + shown(part));
        require(name != "return_"
                    && std::count(known->second.begin(), known->second.end(), name) == 1,
                request.operation + " has no field " + shown(name));
        for (const auto &[earlier, value] : request.fields)
            require(earlier != name, "a field given twice: " + name);
        request.fields.emplace_back(name, expanded(part.substr(end + 1)));
    }
    return request;
}

using Expected = std::map<std::string, std::string>; // TEXT by word

static Expected readExpected(const std::string &text)
{
    static const Lines WORDS = {"return", "no return", "fault", "detail",   "calls",
                                "quiet",  "asks",      "level", "needs all"};
    Expected expected;
    for (std::string part : split(text, " | ")) {
        const bool plain = part == "no return" || part == "needs all";
        const std::string word = plain ? part : takeWord(&part);
        require(std::count(WORDS.begin(), WORDS.end(), word) == 1,
                "no expectation: " + shown(word));
        require(!part.empty() || word == "return", "expects nothing: " + shown(word));
        require(expected.emplace(word, expanded(part)).second, "expected twice: " + shown(word));
        if (word == "asks" || word == "level")
            toNumber<int>(part);
    }
    const auto has = [&](const char *word) { return expected.count(word); };
    require(has("return") + has("no return") + has("fault") == 1,
            "expects not exactly one of return, no return and fault");
    require(has("fault") >= has("detail"), "a detail without a fault");
    require(has("fault") + has("quiet") < 2, "a quiet fault beside a sent one");
    require(has("asks") + has("level") < 2, "both asks and level");
    return expected;
}

struct Reply {
    std::string text;     // the envelope
    std::string recorded; // the fault string, whether it was sent or not
};

// Serves an envelope without a socket.
static Reply serve(const std::string &request)
{
    const std::unique_ptr<struct soap> soap(new struct soap);
    soap_init2(soap.get(), SOAP_C_UTFSTRING, SOAP_C_UTFSTRING);
    std::istringstream in(request);
    std::ostringstream out;
    soap->is = &in;
    soap->os = &out;
    serveRequests(soap.get());
    const char *fault = soap->fault == nullptr ? nullptr : *soap_faultstring(soap.get());
    Reply reply = {out.str(), fault == nullptr ? "" : fault};
    soap_destroy(soap.get());
    soap_end(soap.get());
    soap_done(soap.get());
    return reply;
}

// Returns what the reply has between the two tags, "(none)" without them.
static std::string between(const std::string &reply, const std::string &open,
                           const std::string &close)
{
    const std::size_t begin = reply.find(open);
    const std::size_t end = begin == std::string::npos ? begin : reply.find(close, begin);
    return end == std::string::npos ? "(none)"
                                    : reply.substr(begin + open.size(), end - begin - open.size());
}

class SoapCases : public Dialect {
    std::vector<std::function<void(FakeHost &)>> changes_; // since the section began

    static void check(const std::string &operation, const Reply &reply, bool soap12,
                      Expected expected, const FakeHost &fake)
    {
        const auto in = [&](const std::string &open) { return between(reply.text, open, "</"); };
        if (expected.count("fault") != 0) {
            requireSame("fault", expected["fault"],
                        in(soap12 ? "<SOAP-ENV:Text xml:lang=\"en\">" : "<faultstring>"));
            requireSame("fault code", soap12 ? "SOAP-ENV:Receiver" : "SOAP-ENV:Server",
                        in(soap12 ? "<SOAP-ENV:Value>" : "<faultcode>"));
            requireSame("detail", expected.count("detail") != 0 ? expected["detail"] : "(none)",
                        in(soap12 ? "<SOAP-ENV:Detail>" : "<detail>"));
        } else {
            const std::string element = "ns:" + operation + "Response>";
            std::string content = "<return>" + escaped(expected["return"]) + "</return>";
            if (expected["return"].empty())
                content = expected.count("no return") != 0 ? "" : "<return/>";
            requireSame("return", content, between(reply.text, "<" + element, "</" + element));
            requireSame("quiet", expected["quiet"], reply.recorded);
        }
        std::string calls = fake.callsText();
        std::replace_if(calls.begin(), calls.end(), iscntrl, '?');
        requireSame("calls", expected["calls"], calls);
        for (const char *word : {"asks", "level"})
            if (expected.count(word) != 0)
                requireSame("level asked", expected[word], std::to_string(fake.askedLevel));
    }

    // Sends the request in both SOAP versions, with its fields in order, and reversed before an unknown
    // element. Each time the host is a new one.
    void send(const Request &request, const Expected &expected, const std::string &refusal) const
    {
        for (const bool soap12 : {false, true})
            for (const bool reversed : {false, true}) {
                std::string children = reversed ? "<stranger>x</stranger>" : "";
                for (const auto &[name, value] : request.fields) {
                    std::string child = "<" + name + ">";
                    child.append(escaped(value)).append("</").append(name).append(">");
                    children.insert(reversed ? 0 : children.size(), child);
                }
                FakeHost fake;
                installSecurityHooks();
                for (const auto &change : changes_)
                    change(fake);
                if (!refusal.empty())
                    for (const auto &change : readGiven(refusal).changes)
                        change(fake);
                const Reply reply = serve(envelope(request.operation, children, soap12));
                const std::string variant = std::string(soap12 ? "SOAP 1.2, " : "SOAP 1.1, ")
                                            + (reversed ? "reversed" : "in order")
                                            + (refusal.empty() ? "" : ", given " + refusal);
                recordReply(request.operation + " (" + variant + ")", reply.text);
                try {
                    check(request.operation, reply, soap12, expected, fake);
                } catch (const WrongLine &wrong) {
                    throw WrongLine(variant + ": " + wrong.what());
                }
            }
    }

    void sendRefused(const Request &request) const
    {
        for (const char *refusal :
             {"verdict=2", "verdict=1", "verdict=0", "verdict=4", "verdict=-1", "no gate"}) {
            const bool unknown = refusal == std::string("verdict=2") || *refusal == 'n';
            const Expected expected = {{"fault", unknown ? "WebServer Error: Authentication error"
                                                         : "WebServer Error: Not allowed"},
                                       {"detail", "ns__" + request.operation}};
            send(request, expected, refusal);
        }
    }

    // The gate would refuse these as well, but is asked later.
    void sendIncomplete(const Request &request) const
    {
        const Expected expected = {{"fault", "WebServer Error: Invalid parameters"},
                                   {"detail", "ns__" + request.operation}};
        for (const auto &missing : request.fields) {
            Request rest = request;
            rest.fields.erase(std::find(rest.fields.begin(), rest.fields.end(), missing));
            send(rest, expected, "verdict=1");
        }
    }

    Action readGivenLine(const std::string &text)
    {
        return [this, given = readGiven(text)] {
            if (given.fresh)
                changes_.clear();
            changes_.insert(changes_.end(), given.changes.begin(), given.changes.end());
        };
    }

public:
    SoapCases()
    {
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        tzset();
    }
    ~SoapCases() override
    {
        unsetenv("TZ");
        tzset();
    }
    SoapCases(const SoapCases &) = delete;
    SoapCases &operator=(const SoapCases &) = delete;

    Action read(const std::string &line) override
    {
        const Lines sides = split(line, " -> ");
        const auto isGiven = [](const std::string &text) { return text.rfind("given ", 0) == 0; };
        if (sides.size() == 1 && isGiven(line))
            return readGivenLine(line.substr(6));
        require(sides.size() == 2, "neither given NAME nor REQUEST -> EXPECTED");
        return readSteps(sides[0], [&](const std::string &text, bool last) -> Action {
            if (!last && isGiven(text))
                return readGivenLine(text.substr(6));
            return [this, request = readRequest(text), expected = readExpected(sides[1])] {
                send(request, expected, "");
                if (expected.count("level") != 0)
                    sendRefused(request);
                if (expected.count("needs all") != 0)
                    sendIncomplete(request);
            };
        });
    }
};

std::unique_ptr<Dialect> makeSoapDialect()
{
    return std::make_unique<SoapCases>();
}
