// tests/support/wire.cpp: the running service and the envelopes that tests send to it.
#include "support/wire.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>

#include "base/base64.h"
#include "core/config.h"
#include "core/serve_loop.h"
#include "gsoap/context.h"
#include "session/session_table.h"
#include "support/cases.h"

const std::string FORM = "Content-Type: application/x-www-form-urlencoded\r\n";

void expectServes(int port)
{
    const std::string reply = talk(port, httpPost("", envelope("getRTU")));
    EXPECT_NE(std::string::npos, reply.find("512Q")) << reply;
}

struct soap *openOnFreePort(struct soap *soap)
{
    setenv("SERVER_PORT", std::to_string(freePort()).c_str(), 1);
    readConfiguration();
    initContext(soap);
    if (openService(soap) == -1)
        throw std::runtime_error("the service does not start");
    return soap;
}

bool startsToRun()
{
    return waitFor([] { return __atomic_load_n(&g_wsRunningSocket, __ATOMIC_ACQUIRE) == 1; });
}

Service::Service(int port) : port_(port)
{
    setenv("SERVER_PORT", std::to_string(port_).c_str(), 1);
    const auto gate = pgf_parseAuth; // the start replaces it when security is off
    EXPECT_EQ(0, webServer_Web_Start());
    EXPECT_TRUE(startsToRun());
    __atomic_store_n(&pgf_parseAuth, gate, __ATOMIC_RELEASE);
}

Service::~Service()
{
    EXPECT_EQ(0, ws_soap_close());
}

std::string Service::post(const std::string &envelope, const std::string &headers) const
{
    const std::string usual = "Host: unit\r\nContent-Type: text/xml; charset=utf-8\r\n";
    return talk(port_, httpPost(usual + headers, envelope));
}

std::string httpPost(const std::string &headers, const std::string &body, const std::string &target)
{
    return "POST " + target + " HTTP/1.1\r\n" + headers
           + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string formField(const std::string &text)
{
    std::vector<char> coded(text.size() * 2 + 8);
    httpBase64encode(reinterpret_cast<const unsigned char *>(text.data()),
                     static_cast<int>(text.size()), coded.data(), static_cast<int>(coded.size()));
    return replaced(coded.data(), {{"+", "%2B"}, {"/", "%2F"}, {"=", "%3D"}});
}

void forgetSessions(struct soap *soap)
{
    endSessionsOf("", soap);
    for (const auto &slot : g_webAccess.slots)
        free(slot.ip);
    g_webAccess = {};
    srand(1);
}

std::string envelope(const std::string &operation, const std::string &children, bool soap12,
                     const std::string &header)
{
    const std::string space = soap12 ? "http://www.w3.org/2003/05/soap-envelope"
                                     : "http://schemas.xmlsoap.org/soap/envelope/";
    return "<E:Envelope xmlns:E='" + space + "' xmlns:n='urn:soapServ'"
           + " xmlns:i='http://www.w3.org/2001/XMLSchema-instance'>"
           + (header.empty() ? "" : "<E:Header>" + header + "</E:Header>") + "<E:Body><n:"
           + operation + ">" + children + "</n:" + operation + "></E:Body></E:Envelope>";
}

void recordReply(const std::string &request, const std::string &reply)
{
    const char *path = getenv("REPLIES");
    if (path == nullptr)
        return;
    const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info();
    std::ofstream(path, std::ios::app)
        << "== " << test->test_suite_name() << '.' << test->name() << ": " << request << '\n'
        << reply << '\n';
}
