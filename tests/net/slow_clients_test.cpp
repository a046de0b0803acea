// tests/net/slow_clients_test.cpp: slow clients keep nobody from an answer, and get the one they always got.
#include <cerrno>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <soapH.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "session/session_table.h"
#include "support/cases.h"
#include "support/wire.h"

using namespace std::string_literals;
using testing::HasSubstr;

static const char *const BIG = "/mnt/bf/webFiles/big.png";
static const std::size_t BIG_BYTES = 3 << 20;
static const std::string READ = envelope(
    "coreDbReadData", "<inputType>analog</inputType><inputName>A</inputName><inputFormat/>");

static std::string bodyOf(const std::string &reply)
{
    const std::size_t end = reply.find("\r\n\r\n");
    return end == std::string::npos ? "" : reply.substr(end + 4);
}

// The service with the host's security, a page, a log and a large picture.
class SlowClients : public testing::Test {
protected:
    FakeHost fake;
    const Service service = (installSecurityHooks(), Service());
    const int port = service.port();
    const std::string bigContent = std::string(BIG_BYTES, 'b');
    const std::string cookie = "Cookie: SESSIONID=sid\r\n";
    const std::string loginBody = "cgiMethod=Y2dpTG9naW4%3D&arg1=YW5u&arg2=cHc%3D"; // ann, pw

    SlowClients()
    {
        fake.point = "1.5";
        fake.sessionId = std::string("sid") + '\0';
        std::ofstream(BIG) << bigContent;
        std::ofstream("/mnt/bf/webFiles/page.htm") << "page";
        std::filesystem::create_directories("/mnt/flash/log");
        std::ofstream("/mnt/flash/log/a.log") << "log";
    }

    ~SlowClients() override
    {
        static struct soap soap; // too large for a stack
        endSessionsOf("", &soap);
        std::filesystem::remove_all("/mnt/flash");
    }

    std::vector<std::pair<std::string, std::string>> ordinary() const // request, part of its reply
    {
        const std::string json = "Accept: application/json\r\n";
        return {{httpPost("", READ), "<return>1.5</return>"},
                {httpPost(FORM + json, loginBody), "\"success\""},
                {"GET /page.htm HTTP/1.1\r\n" + cookie + "\r\n", "\r\n\r\npage"},
                {"GET /logs/cslog.log HTTP/1.1\r\n" + cookie + "\r\n", "\r\n\r\nlog"}};
    }
};

TEST_F(SlowClients, KeepNobodyFromAnAnswer)
{
    const std::pair<const char *, std::string> KINDS[] = {
        {"silent", ""},
        {"half a header", "GET /page.htm HTTP/1.1\r\nHost: un"},
        {"half an envelope", httpPost("", READ).substr(0, 300)},
        {"half a form", "POST / HTTP/1.1\r\n" + FORM + "Content-Length: 99\r\n\r\ncgiMethod="},
        {"large upload", "POST / HTTP/1.1\r\n" + FORM + "Content-Length: 9999999\r\n\r\n"
                             + std::string(300000, 'x')},
        {"unread file", "GET /big.png HTTP/1.1\r\n\r\n"},
        {"chunks that stop", "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n9\r\n<E"},
        {"Expect, no body", "POST / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 9\r\n\r\n"},
    };
    for (const auto &kind : KINDS) {
        SCOPED_TRACE(kind.first);
        const std::vector<Client> slow = manyClients(12, port, kind.second);
        const auto begin = std::chrono::steady_clock::now();
        for (const auto &[request, part] : ordinary())
            EXPECT_THAT(talk(port, request), HasSubstr(part));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    }
}

TEST_F(SlowClients, GetTheReplyOfThoseWhoSendAtOnce)
{
    std::string chunks;
    for (const char byte : READ)
        chunks += std::string("1\r\n") + byte + "\r\n";
    const std::string header = "POST / HTTP/1.1\r\n", read = talk(port, ordinary()[0].first);
    EXPECT_EQ("", talk(port, httpPost("", READ.substr(0, 100))));
    std::vector<std::pair<std::string, std::string>> exchanges = {
        {header + "Transfer-Encoding: chunked\r\n\r\n" + chunks + "0\r\n\r\n", read},
        {header + "Expect: 100-continue\r\nContent-Length: 9999\r\n\r\n" + READ,
         "HTTP/1.1 100 Continue\r\n\r\n" + read},
        {ordinary()[0].first + ordinary()[0].first, read}, // the second is not served
    };
    for (const auto &[request, part] : ordinary())
        exchanges.emplace_back(request, talk(port, request));
    for (const auto &[request, reply] : exchanges) {
        SCOPED_TRACE(request);
        EXPECT_EQ(reply, talk(port, request));
        EXPECT_EQ(reply, talk(port, request, "127.0.0.1", true));
        for (const std::size_t piece : {std::size_t{1}, request.size() / 2, request.size() - 1}) {
            const Client client(port);
            for (std::size_t at = 0; at < request.size(); at += piece) {
                client.send(request.substr(at, piece));
                if (piece > 1)
                    usleep(20000); // so that the service receives the pieces apart
            }
            EXPECT_EQ(reply, client.rest()) << "in pieces of " << piece;
        }
    }
    for (const std::string &cut : {""s, "\r\n"s, "POST"s, httpPost("", READ).substr(0, 180)})
        EXPECT_EQ("", talk(port, cut, "127.0.0.1", true));
}

TEST_F(SlowClients, ShareNothing)
{
    fake.gateRecords = true;
    std::vector<Client> clients;
    std::vector<std::string> requests, expected;
    for (int i = 2; i < 22; ++i) {
        const auto own = [i](const std::string &text) {
            return replaced(text, {{"#", std::to_string(i)}});
        };
        const bool known = i % 2 == 0; // every other one brings no cookie and no Host
        const std::string header = known ? "Host: unit#\r\nCookie: SESSIONID=id#\r\n" : "";
        const std::string fields = "<binContName>P#Q</binContName><binName/><function/><arg/>";
        clients.emplace_back(port, "", own("127.0.0.#"));
        requests.push_back(
            httpPost(own(header), envelope("fnPutS", own(fields + "<timeout>1</timeout>"))));
        expected.push_back(
            own(known ? "gate(127.0.0.# http://unit#/ SESSIONID=id#)" : "gate(127.0.0.# /)"));
        expected.push_back(own("fnPutS(P#Q,,,,128,1)"));
    }
    for (std::size_t at = 0; at < 1000; at += 13) // beyond the end of the longest
        for (std::size_t i = 0; i < clients.size(); ++i)
            clients[i].send(requests[i].substr(std::min(at, requests[i].size()), 13));
    for (const Client &client : clients)
        EXPECT_THAT(client.rest(), HasSubstr("200 OK"));
    EXPECT_THAT(fake.calls(), testing::UnorderedElementsAreArray(expected));
}

TEST_F(SlowClients, SeeThatAFileIsCutWhenItShrinksOrCannotBeRead)
{
    const std::string asks = "GET /big.png HTTP/1.1\r\n\r\n", whole = talk(port, asks);
    const std::string length = "Content-Length: " + std::to_string(BIG_BYTES);
    EXPECT_THAT(whole, HasSubstr(length));
    EXPECT_EQ(bigContent, bodyOf(whole));
    for (const int error : {EINVAL, ENOSYS, EIO}) {
        fake.sendfileError = error;
        EXPECT_EQ(error == EIO ? "" : bigContent, bodyOf(talk(port, asks))) << error;
    }
    fake.sendfileError = 0;
    const Client client(port, asks);
    expectServes(port);
    std::filesystem::resize_file(BIG, 1000);
    const std::string cut = client.rest();
    EXPECT_THAT(cut, HasSubstr(length));
    EXPECT_LT(bodyOf(cut).size(), BIG_BYTES);
    expectServes(port);
}

TEST_F(SlowClients, CloseEndsSilentOnesAndAnswersThoseWhoHaveBegun)
{
    const std::string request = httpPost("", READ), asks = "GET /big.png HTTP/1.1\r\n\r\n";
    const std::vector<Client> idle = manyClients(20, port);
    expectServes(port);
    fake.forgetCalls();
    EXPECT_EQ(0, ws_soap_close());
    EXPECT_LT(fake.calls().size(), 5U) << "seconds";
    EXPECT_EQ("", idle[0].rest());
    const Service again(port);
    const Client half(port, request.substr(0, 100)), silent(port), reader(port, asks);
    expectServes(port);
    fake.forgetCalls();
    EXPECT_EQ(1, ws_soap_close());
    EXPECT_EQ(std::vector<std::string>(10, "sleep(1)"), fake.calls()) << "ten waits of a second";
    EXPECT_EQ("", silent.rest());
    EXPECT_EQ(-1, Client(port).socket()) << "nothing is accepted";
    EXPECT_TRUE(half.isOpen());
    half.send(request.substr(100));
    EXPECT_THAT(half.rest(), HasSubstr("<return>1.5</return>"));
    EXPECT_EQ(bigContent, bodyOf(reader.rest())) << "replies have a moment to leave";
    EXPECT_TRUE(waitFor([] { return __atomic_load_n(&g_wsSocket, __ATOMIC_ACQUIRE) == -1; }));
    const Service next;
    expectServes(next.port());
}

TEST_F(SlowClients, AreServedAfterThoseWhoLeftAndWhileDescriptorsAreLacking)
{
    fake.point = std::string(311, 'x');
    const std::string large = expanded("<inputType>analog</inputType><inputNames>{[A]*1000}"
                                       "</inputNames><inputFormat/><inputNum>1000</inputNum>"),
                      read = httpPost("", envelope("coreDbReadMultData", large));
    for (int i = 0; i < 50; ++i) { // gone before they are accepted, or before their reply is sent
        const struct linger abort = {1, 0};
        const Client client(port, i < 25 ? "" : read);
        setsockopt(client.socket(), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    }
    const std::string request = httpPost("", READ), value = "<return>" + fake.point + "</return>";
    const Client connected(port, request.substr(0, 100));
    expectServes(port);
    // The newcomer's own descriptor becomes the last one.
    const Client unused(port);
    expectServes(port);
    struct rlimit usual;
    getrlimit(RLIMIT_NOFILE, &usual);
    const int probe = dup(0);
    const struct rlimit tight = {static_cast<rlim_t>(probe) + 1, usual.rlim_max};
    setrlimit(RLIMIT_NOFILE, &tight);
    close(probe);
    const Client newcomer(port, request);

    const std::clock_t before = std::clock(); // the processor time of the program
    usleep(500000);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20) << "in half a second";
    EXPECT_EQ("E webServer soap error: Too many open files\n",
              fake.log().substr(std::min(fake.log().find("E "), fake.log().size())));
    connected.send(request.substr(100));
    const std::string reply = connected.rest(), inItsPlace = newcomer.rest();
    setrlimit(RLIMIT_NOFILE, &usual); // first: a sanitizer needs a descriptor to look at a matcher
    EXPECT_THAT(reply, HasSubstr(value));
    EXPECT_THAT(inItsPlace, HasSubstr(value));
}
