// tests/gsoap/request_headers_test.cpp: what a gate finds in the context after a request's header lines.
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <stdsoap2.h>

#include "gsoap/context.h"
#include "http/cookies.h"
#include "session/session_table.h"
#include "support/cases.h"
#include "support/wire.h"

class RequestHeaders : public testing::Test {
protected:
    FakeHost fake;
    const std::unique_ptr<struct soap> soap{new struct soap};

    RequestHeaders()
    {
        initContext(soap.get());
        openOnFreePort(soap.get());
    }

    ~RequestHeaders() override { releaseContext(soap.get()); }

    // Lines that are separated by "\n".
    void parse(const std::string &lines)
    {
        soap_free_cookies(soap.get());
        std::istringstream text(lines);
        for (std::string line; std::getline(text, line);) {
            const std::size_t colon = line.find(": ");
            EXPECT_EQ(SOAP_OK, soap->fparsehdr(soap.get(), line.substr(0, colon).c_str(),
                                               line.substr(colon + 2).c_str()));
        }
    }
};

TEST_F(RequestHeaders, IgnoreWhatOnlyResponsesHave)
{
    parse("Host: unit\nLocation: http://stranger/\nset-cookie: SESSIONID=a\nSet-Cookie2: b=c\n"
          "WWW-Authenticate: Basic realm=\"x\"\nProxy-Authenticate: Basic realm=\"y\"");
    EXPECT_STREQ("http://unit", soap->endpoint);
    EXPECT_EQ(nullptr, soap->authrealm);
    EXPECT_EQ(nullptr, soap->cookies);
}

// "good" and "best" are the ids of sessions; "-" stands for no value.
TEST_F(RequestHeaders, GiveTheGateTheCookiesThatTheClientSent)
{
    installSecurityHooks();
    pgf_getSessionStatus = [](const char *) { return (host().record("asked"), 0); };
    const int sessions[] = {openSession(soap.get(), "ann", WS_LEVEL_READ, "good"),
                            openSession(soap.get(), "bob", WS_LEVEL_READ, "best")};
    static const std::pair<const char *, const char *> CASES[] = {
        {"Cookie: a=b; SESSIONID=good,c=%41%2b%C3%9F", "a=b SESSIONID=good c=A+ß"},
        {"cookie:  SESSIONID= good", "SESSIONID=good"},
        {"Cookie: lang=; path=; SESSIONID=good;=x;", "lang=- path=- SESSIONID=good x=-"},
        {"Cookie: a=100%; b=%4; c=%z4%4z; SESSIONID=good; d=%",
         "a=100% b=%4 c=%z4%4z SESSIONID=good d=%"},
        {"Cookie: a=\"open; SESSIONID=good; b=\"1,2\"; c=\"", "a=\"open SESSIONID=good b=1,2 c=\""},
        {"Cookie: SESSIONID=\"%67ood\"; a=\"\"x; %62=\"%22\"", "SESSIONID=good a=- b=\""},
        {"Cookie2: $Version=1; $Port\nCookie: $Version=\"1\"; SESSIONID=good; $Path=\"/x\"; $Port",
         "SESSIONID=good"},
        {"Cookie: a, Expires=Wed; Domain=d; Path=/; SESSIONID=good; Secure",
         "a=- Expires=Wed Domain=d Path=/ SESSIONID=good Secure=-"},
        {"Cookie: a=1; a=good; SESSIONID=x; a=", "a=- SESSIONID=x"},
        {"Cookie: SESSIONID=GOOD; SESSIONID=goo; SESSIONID=goods; SESSIONID=good; SESSIONID=best",
         "SESSIONID=good"},
        {"Cookie: SESSIONID=best\nCookie: SESSIONID=good; SESSIONID=", "SESSIONID=best"},
        {"Cookie: SESSIONID=x; SESSIONID=y; SESSIONID=", "SESSIONID=-"},
        {"Cookie: SESSIONID=good; Expires={x*8000}", "SESSIONID=good Expires={x*8000}"}};
    for (const auto &[lines, expected] : CASES) {
        parse(expanded(lines));
        std::string cookies;
        for (const struct soap_cookie *next = soap->cookies; next != nullptr; next = next->next) {
            cookies += std::string(cookies.empty() ? "" : " ") + next->name + "="
                       + (next->value == nullptr ? "-" : next->value);
            EXPECT_EQ(next, soap_cookie(soap.get(), next->name, nullptr, nullptr)) << lines;
            EXPECT_EQ(0, next->modified) << lines;
        }
        EXPECT_EQ(expanded(expected), cookies) << lines;
    }
    EXPECT_TRUE(fake.calls().empty());
    std::string many = "Cookie: SESSIONID=x";
    for (int i = 2; i <= 256; ++i)
        many += "; c" + std::to_string(i) + "=x";
    parse(many + "; c257=x; c256=last; SESSIONID=good");
    EXPECT_STREQ("good", sessionCookie(soap.get()));
    EXPECT_STREQ("last", soap_cookie_value(soap.get(), "c256", nullptr, nullptr));
    EXPECT_EQ(nullptr, soap_cookie(soap.get(), "c257", nullptr, nullptr));
    for (const int slot : sessions)
        clearSession(slot, soap.get());
}
