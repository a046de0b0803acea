// tests/http/request_headers_test.cpp: what a gate finds in the context after a request's header lines.
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <stdsoap2.h>

#include "core/config.h"
#include "core/serve_loop.h"
#include "gsoap/context.h"
#include "support/fake_host.h"
#include "support/wire.h"

class RequestHeaders : public testing::Test {
protected:
    FakeHost fake;
    const std::unique_ptr<struct soap> soap{new struct soap};

    RequestHeaders()
    {
        setenv("SERVER_PORT", std::to_string(freePort()).c_str(), 1);
        readConfiguration();
        initContext(soap.get());
        openService(soap.get());
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
