// tests/net/slow_clients_test.cpp: slow clients keep nobody from an answer, and get the one they always got.
#include <cerrno>
#include <chrono>

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <soapH.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "http/cookies.h"
#include "net/slow_client.h"
#include "session/session_table.h"
#include "support/fake_host.h"
#include "support/wire.h"

using namespace std::string_literals;
using testing::HasSubstr;

static const char *const BIG = "/mnt/bf/webFiles/big.png";
static const std::size_t BIG_BYTES = 1 << 20;

static void writeFile(const std::string &path, const std::string &content)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << content;
}

static std::string bodyOf(const std::string &reply)
{
    const std::size_t end = reply.find("\r\n\r\n");
    return end == std::string::npos ? "" : reply.substr(end + 4);
}

// The service with the host's security, a page, a log and a large picture.
class SlowClients : public testing::Test {
protected:
    FakeHost fake;
    const std::string bigContent = std::string(BIG_BYTES, 'b');
    const std::string cookie = "Cookie: SESSIONID=sid\r\n";
    const std::string readBody = envelope(
        "coreDbReadData",
        "<inputType>analog</inputType><inputName>A</inputName><inputFormat></inputFormat>");
    const std::string loginBody = "cgiMethod=Y2dpTG9naW4%3D&arg1=YW5u&arg2=cHc%3D"; // ann, pw

    SlowClients()
    {
        installSecurityHooks();
        fake.point = "1.5";
        fake.sessionId = std::string("sid") + '\0';
        writeFile(BIG, bigContent);
        writeFile("/mnt/bf/webFiles/page.htm", "page");
        writeFile("/mnt/flash/log/a.log", "log");
    }

    ~SlowClients() override
    {
        const std::unique_ptr<struct soap> soap(new struct soap);
        endSessionsOf("", soap.get());
        std::filesystem::remove_all("/mnt/flash");
    }

    std::vector<std::pair<std::string, std::string>> ordinary() const // request, part of its reply
    {
        const std::string json = "Accept: application/json\r\n";
        return {{httpPost("", readBody), "<return>1.5</return>"},
                {httpPost(FORM + json, loginBody), "\"success\""},
                {"GET /page.htm HTTP/1.1\r\n" + cookie + "\r\n", "\r\n\r\npage"},
                {"GET /logs/cslog.log HTTP/1.1\r\n" + cookie + "\r\n", "\r\n\r\nlog"}};
    }
};

TEST_F(SlowClients, KeepNobodyFromAnAnswer)
{
    const std::string half = readBody.substr(0, readBody.size() / 2);
    const std::string whole = httpPost("", readBody);
    const std::string unclosed = readBody.substr(0, readBody.size() - 3);
    const std::pair<const char *, std::string> KINDS[] = {
        {"silent", ""},
        {"half a request line", "GET /pa"},
        {"half a header", "GET /page.htm HTTP/1.1\r\nHost: un"},
        {"half an envelope", whole.substr(0, whole.size() - half.size())},
        {"half a form", "POST / HTTP/1.1\r\n" + FORM + "Content-Length: 99\r\n\r\ncgiMethod="},
        {"large upload", "POST / HTTP/1.1\r\n" + FORM + "Content-Length: 9999999\r\n\r\n"
                             + std::string(300000, 'x')},
        {"unread file", "GET /big.png HTTP/1.1\r\n\r\n"},
        {"chunks that stop", "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n9\r\n<E"},
        {"Expect, no body", "POST / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 9\r\n\r\n"},
        {"no length", "POST / HTTP/1.1\r\n\r\n" + half},
        {"envelope not closed", httpPost("", unclosed)},
    };
    const Service service;
    for (const auto &kind : KINDS) {
        SCOPED_TRACE(kind.first);
        const std::vector<SlowClient> slow = slowClients(12, service.port(), kind.second);
        const auto begin = std::chrono::steady_clock::now();
        for (const auto &[request, part] : ordinary())
            EXPECT_THAT(talk(service.port(), request), HasSubstr(part));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    }
}

TEST_F(SlowClients, GetTheReplyOfThoseWhoSendAtOnce)
{
    const Service service;
    std::string chunks;
    for (const char byte : readBody)
        chunks += std::string("1\r\n") + byte + "\r\n";
    const std::string header = "POST / HTTP/1.1\r\n",
                      read = talk(service.port(), ordinary()[0].first);
    EXPECT_EQ("", talk(service.port(), httpPost("", readBody.substr(0, 100))));
    std::vector<std::pair<std::string, std::string>> exchanges = {
        {header + "Transfer-Encoding: chunked\r\n\r\n" + chunks + "0\r\n\r\n", read},
        {header + "\r\n" + readBody, read},
        {header + "Content-Length: 10\r\n\r\n" + readBody, read},
        {header + "Expect: 100-continue\r\nContent-Length: 9999\r\n\r\n" + readBody,
         "HTTP/1.1 100 Continue\r\n\r\n" + read},
        {ordinary()[0].first + ordinary()[0].first, read}, // the second is not served
    };
    for (const auto &[request, part] : ordinary())
        exchanges.emplace_back(request, talk(service.port(), request));
    for (const auto &[request, reply] : exchanges) {
        SCOPED_TRACE(request);
        EXPECT_EQ(reply, talk(service.port(), request));
        EXPECT_EQ(reply, talk(service.port(), request, "127.0.0.1", true));
        for (const std::size_t piece : {std::size_t{1}, request.size() / 2, request.size() - 1}) {
            const SlowClient client(service.port());
            for (std::size_t at = 0; at < request.size(); at += piece) {
                client.send(request.substr(at, piece));
                if (piece > 1)
                    usleep(20000); // so that the service receives the pieces apart
            }
            EXPECT_EQ(reply, client.rest()) << "in pieces of " << piece;
        }
    }
    for (const std::string &cut : {""s, "\r\n"s, "POST"s, httpPost("", readBody).substr(0, 180)})
        EXPECT_EQ("", talk(service.port(), cut, "127.0.0.1", true));
}

static int describeRequest(struct soap *soap, int)
{
    const char *id = sessionCookie(soap);
    host().record(std::string(soap->host) + " " + soap->endpoint + " "
                  + (id == nullptr ? "-" : id));
    return WS_ALLOWED;
}

TEST_F(SlowClients, ShareNothing)
{
    pgf_parseAuth = describeRequest;
    fake.onRead = [](char *text) { return text[0] = '\0'; };
    const Service service;
    std::vector<SlowClient> clients;
    std::vector<std::string> requests, expected;
    for (int i = 0; i < 20; ++i) {
        const std::string number = std::to_string(i + 2), name = "P" + number + "Q";
        const std::string from = "127.0.0." + number;
        clients.emplace_back(service.port(), "", from);
        // Every other one brings no cookie and no Host.
        const std::string known =
            "Host: unit" + number + "\r\nCookie: SESSIONID=id" + number + "\r\n";
        requests.push_back(
            httpPost(i % 2 == 0 ? known : "",
                     envelope("fnPutS", "<binContName>" + name
                                            + "</binContName>"
                                              "<binName/><function/><arg/><timeout>1</timeout>")));
        expected.push_back(from + " " + (i % 2 == 0 ? "http://unit" + number : "") + "/ "
                           + (i % 2 == 0 ? "id" + number : "-"));
        expected.push_back("fnPutS(" + name + ",,,,128,1)");
    }
    for (std::size_t at = 0, open = 1; open > 0; at += 13) {
        open = 0;
        for (std::size_t i = 0; i < clients.size(); ++i)
            if (at < requests[i].size()) {
                clients[i].send(requests[i].substr(at, 13));
                ++open;
            }
    }
    for (const SlowClient &client : clients)
        EXPECT_THAT(client.rest(), HasSubstr("200 OK"));
    EXPECT_THAT(fake.calls(), testing::UnorderedElementsAreArray(expected));
}

TEST_F(SlowClients, SeeThatAFileIsCutWhenItShrinksOrCannotBeRead)
{
    const Service service;
    const std::string asks = "GET /big.png HTTP/1.1\r\n\r\n";
    const std::string whole = talk(service.port(), asks);
    EXPECT_THAT(whole, HasSubstr("Content-Length: " + std::to_string(BIG_BYTES)));
    EXPECT_EQ(bigContent, bodyOf(whole));
    for (const int error : {EINVAL, ENOSYS, EIO}) {
        fake.sendfileError = error;
        EXPECT_EQ(error == EIO ? "" : bigContent, bodyOf(talk(service.port(), asks))) << error;
    }
    fake.sendfileError = 0;
    const SlowClient client(service.port(), asks);
    expectServes(service.port());
    std::filesystem::resize_file(BIG, 1000);
    const std::string cut = client.rest();
    EXPECT_THAT(cut, HasSubstr("Content-Length: " + std::to_string(BIG_BYTES)));
    EXPECT_LT(bodyOf(cut).size(), BIG_BYTES);
    expectServes(service.port());
}

TEST_F(SlowClients, CloseEndsSilentOnesAndAnswersThoseWhoHaveBegun)
{
    const std::string request = httpPost("", readBody);
    {
        const Service service;
        const std::vector<SlowClient> silent = slowClients(20, service.port());
        expectServes(service.port());
        fake.forgetCalls();
        EXPECT_EQ(0, ws_soap_close());
        EXPECT_LT(fake.calls().size(), 5U) << "seconds";
        EXPECT_EQ("", silent[0].rest());
    }
    const Service service;
    const SlowClient half(service.port(), request.substr(0, 100));
    const SlowClient silent(service.port());
    const SlowClient reader(service.port(), "GET /big.png HTTP/1.1\r\n\r\n");
    expectServes(service.port());
    EXPECT_EQ(1, ws_soap_close());
    EXPECT_EQ("", silent.rest());
    EXPECT_EQ(-1, connectTo(service.port())) << "nothing is accepted";
    EXPECT_TRUE(half.isOpen());
    half.send(request.substr(100));
    EXPECT_THAT(half.rest(), HasSubstr("<return>1.5</return>"));
    EXPECT_EQ(bigContent, bodyOf(reader.rest())) << "replies have a moment to leave";
    EXPECT_TRUE(waitFor([] { return __atomic_load_n(&g_wsSocket, __ATOMIC_ACQUIRE) == -1; }));
    const Service next;
    expectServes(next.port());
}

TEST_F(SlowClients, AreServedWhileDescriptorsAreLacking)
{
    const Service service;
    for (int i = 0; i < 50; ++i) { // gone before they are accepted
        const struct linger abort = {1, 0};
        const SlowClient client(service.port());
        setsockopt(client.socket(), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    }
    const std::string request = httpPost("", readBody);
    const SlowClient connected(service.port(), request.substr(0, 100));
    expectServes(service.port());
    // The newcomer's own descriptor becomes the last one.
    const SlowClient unused(service.port());
    expectServes(service.port());
    struct rlimit usual;
    getrlimit(RLIMIT_NOFILE, &usual);
    const int probe = dup(0);
    const struct rlimit tight = {static_cast<rlim_t>(probe) + 1, usual.rlim_max};
    setrlimit(RLIMIT_NOFILE, &tight);
    close(probe);
    const SlowClient newcomer(service.port(), request);

    struct rusage before, after;
    getrusage(RUSAGE_SELF, &before);
    usleep(500000);
    getrusage(RUSAGE_SELF, &after);
    const auto microseconds = [](const struct rusage &use) {
        return (use.ru_utime.tv_sec + use.ru_stime.tv_sec) * 1000000 + use.ru_utime.tv_usec
               + use.ru_stime.tv_usec;
    };
    EXPECT_LT(microseconds(after) - microseconds(before), 50000) << "of 500000";
    EXPECT_EQ("E webServer soap error: Too many open files\n",
              fake.log().substr(std::min(fake.log().find("E "), fake.log().size())));
    connected.send(request.substr(100));
    EXPECT_THAT(connected.rest(), HasSubstr("<return>1.5</return>"));
    EXPECT_THAT(newcomer.rest(), HasSubstr("<return>1.5</return>")) << "in the place that is free";
    setrlimit(RLIMIT_NOFILE, &usual);
}
