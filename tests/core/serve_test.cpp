// tests/core/serve_test.cpp: the service over a real socket: bind, serve, close, and start again.
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httpget.h>
#include <netinet/tcp.h>
#include <soapH.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "core/config.h"
#include "core/serve_loop.h"
#include "core/service_thread.h"
#include "gsoap/context.h"
#include "net/connections.h"
#include "support/fake_host.h"
#include "support/wire.h"

using testing::HasSubstr;

static const std::string READ_ANALOG =
    "<inputType>analog</inputType><inputName>A</inputName><inputFormat></inputFormat>";

// Returns true when no thread has the name of the service thread.
static bool ended()
{
    for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::ifstream(task.path() / "comm") >> name;
        if (name == "webServer")
            return false;
    }
    return true;
}

struct BadAddress {
    const char *name;
    const char *address;
    int port; // 0: one that is in use
    const char *reason;
};

static void PrintTo(const BadAddress &row, std::ostream *out)
{
    *out << row.name;
}

class Bind : public testing::TestWithParam<BadAddress> {};

TEST_P(Bind, FailureIsLoggedAndRebootsTheUnit)
{
    int port = GetParam().port;
    const int holder = port == 0 ? listenOn(port = freePort()) : -1;
    setenv("SERVER_ADDR", GetParam().address, 1);
    setenv("SERVER_PORT", std::to_string(port).c_str(), 1);

    FakeHost fake;
    EXPECT_EQ(0, httpd());
    EXPECT_TRUE(waitFor([&] { return fake.calls().size() == 2 && ended(); }));
    EXPECT_EQ((std::vector<std::string>{"sync()", "reboot(0x01234567)"}), fake.calls());
    EXPECT_EQ(-1, __atomic_load_n(&g_wsSocket, __ATOMIC_ACQUIRE));
    EXPECT_EQ(0, g_wsRunningSocket);
    EXPECT_THAT(fake.log(), testing::ContainsRegex(
                                "E webServer: rebooting system since socket binding fails for "
                                + std::string(GetParam().address) + ":" + std::to_string(port)
                                + ". Soap error: " + GetParam().reason + "\n"));
    close(holder);
    unsetenv("SERVER_ADDR");
}

INSTANTIATE_TEST_SUITE_P(
    Of, Bind,
    testing::Values(BadAddress{"UsedPort", "127.0.0.1", 0, "Address already in use"},
                    BadAddress{"NegativePort", "127.0.0.1", -1, "Invalid argument"},
                    BadAddress{"PortAfterTheLast", "127.0.0.1", 65536, "Invalid argument"},
                    BadAddress{"PortModulo65536", "127.0.0.1", 70000, "Invalid argument"},
                    BadAddress{"ForeignAddress", "192.0.2.1", 24000, "Cannot assign.*"},
                    BadAddress{"NoAddress", "no.such.address.invalid", 24000, ".+"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(Start, LogsWhyThreadOrWebRootIsMissing)
{
    FakeHost fake;
    pgf_parseAuth = nullptr;
    fake.createError = EAGAIN;
    setenv("WEB_DIR", "/mnt/absent/", 1);
    EXPECT_EQ(-1, webServer_Web_Start());
    unsetenv("WEB_DIR");
    EXPECT_FALSE(fake.gateAtStart) << "the default hooks come after the thread";
    EXPECT_NE(nullptr, pgf_parseAuth) << "and all the same";
    EXPECT_EQ("W webServer: web root /mnt/absent/: No such file or directory\n"
              "E webServer: spawnHttpThread() error creating the thread 11\n",
              fake.log());

    setenv("SERVER_PORT", std::to_string(freePort()).c_str(), 1);
    fake.createError = 0;
    fake.detachError = EINVAL;
    EXPECT_EQ(EINVAL, webServer_Web_Start());
    EXPECT_THAT(fake.log(), HasSubstr("E webServer: spawnHttpThread() error creating the thread as "
                                      "detached; Invalid argument (22)\n"));
    EXPECT_TRUE(waitFor([] { return __atomic_load_n(&g_wsRunningSocket, __ATOMIC_ACQUIRE) == 1; }))
        << "the service runs";
    EXPECT_EQ(0, ws_soap_close());
}

TEST(Close, IdleServiceStopsQuietlyAndCanStartAgain)
{
    FakeHost fake;
    const std::string closing = "I webServer: closing\n";
    std::string printed;
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, ws_soap_close()) << "nothing to close yet";
    std::string expected = closing;
    const int port = freePort();
    for (int run = 0; run < 3; ++run) {
        const Service service(port); // on which connections of the run before still linger
        EXPECT_THAT(service.post(envelope("getRTU")), HasSubstr("<return>512Q</return>"));
        const std::string listening =
            "webServer: Listening address 127.0.0.1:" + std::to_string(service.port()) + "\n";
        expected.append("I ").append(listening).append(closing);
        printed += listening;
    }
    EXPECT_EQ(printed, testing::internal::GetCapturedStdout());
    EXPECT_EQ(-1, g_wsSocket);
    EXPECT_EQ(0, g_wsRunningSocket);
    EXPECT_EQ(0, ws_soap_close());
    EXPECT_EQ(expected + closing, fake.log());
}

static int reportRelease(struct soap *, struct soap_plugin *plugin, void *)
{
    plugin->id = "released";
    plugin->fdelete = [](struct soap *, struct soap_plugin *) {
        host().record(g_wsSocket == -1 ? "late" : "in time");
    };
    return SOAP_OK;
}

// A host may start the service again, with the same context, as soon as the socket is gone.
TEST(Close, ReleasesTheContextFirstAndReturnsWhatClosingTheListeningSocketReturned)
{
    setenv("SERVER_PORT", std::to_string(freePort()).c_str(), 1);
    readConfiguration();
    FakeHost fake;
    struct soap *soap = soap_new();
    soap_register_plugin(soap, reportRelease);
    auto result = std::async(std::launch::async, ws_soap_main, soap);
    EXPECT_TRUE(waitFor([] { return __atomic_load_n(&g_wsRunningSocket, __ATOMIC_ACQUIRE) == 1; }));
    EXPECT_EQ(0, ws_soap_close());
    EXPECT_EQ(0, result.get());
    EXPECT_EQ("in time", fake.calls().back());
    soap_free(soap);
}

TEST(Accept, FailuresAreLoggedUnlessTheServiceIsBeingClosed)
{
    setenv("SERVER_PORT", std::to_string(freePort()).c_str(), 1);
    readConfiguration();
    FakeHost fake;
    struct soap *soap = soap_new();
    ASSERT_NE(-1, openService(soap));
    EXPECT_EQ(0, soap->accept_timeout) << "the service waits for clients without a limit";
    soap->accept_timeout = -1000; // microseconds
    serveConnection(soap);
    EXPECT_EQ("", fake.log());
    g_wsRunningSocket = 1;
    serveConnection(soap);
    EXPECT_EQ("W webServer: Server timed out (timeout set to -1000 seconds)\n", fake.log());
    soap->accept_timeout = 0;
    const auto accepts = soap->faccept;
    const struct {
        int error; // 0: a connection is accepted
        const char *logged;
    } ATTEMPTS[] = {
        {EMFILE, "E webServer soap error: Too many open files\n"},
        {EMFILE, ""},
        {ENFILE, ""},
        {ENOBUFS, ""},
        {EPERM, "E webServer soap error: Operation not permitted\n"},
        {ENOMEM, ""},
        {0, "I webServer: connections are accepted again\n"},
        {0, ""},
        {ENOMEM, "E webServer soap error: Cannot allocate memory\n"},
        {0, "I webServer: connections are accepted again\n"},
        {EPERM, "E webServer soap error: Operation not permitted\n"},
        {EPERM, "E webServer soap error: Operation not permitted\n"},
    };
    static int error;
    for (const auto &attempt : ATTEMPTS) {
        error = attempt.error;
        soap->faccept = [](struct soap *, SOAP_SOCKET, struct sockaddr *, int *) {
            errno = error;
            return SOAP_INVALID_SOCKET;
        };
        if (error == 0)
            soap->faccept = accepts;
        const std::string before = fake.log();
        const int client = error == 0 ? connectTo(g_serverPort) : -1;
        shutdown(client, SHUT_WR);
        testing::internal::CaptureStderr();
        serveConnection(soap);
        EXPECT_EQ(before + attempt.logged, fake.log());
        EXPECT_EQ(*attempt.logged == 'E', !testing::internal::GetCapturedStderr().empty());
        close(client);
    }
    g_wsRunningSocket = 0;
    soap_free(soap);
}

TEST(Memory, APlugInThatFindsNoneIsLoggedAndTheOthersServe)
{
    static const struct {
        std::size_t refusedBytes;
        const char *log;
    } CASES[] = {
        {sizeof(struct http_get_data),
         "E webServer: cannot register the plug-in for GET requests: "},
        {4 * sizeof(void *), "E webServer: no memory for the form plug-in: forms are refused\n"},
    };
    for (const auto &row : CASES) {
        FakeHost fake;
        fake.refusedBytes = row.refusedBytes;
        const Service service;
        EXPECT_THAT(fake.log(), testing::StartsWith(row.log));
        fake.refusedBytes = 0;
        EXPECT_THAT(service.post(envelope("getRTU")), HasSubstr("512Q"));
    }
}

TEST(Memory, AHeaderLineThatFindsNoneRefusesTheRequest)
{
    FakeHost fake;
    const Service service;
    const std::string origin = "http://" + std::string(70, 'x'),
                      line = "Origin: " + origin + "\r\n";
    EXPECT_THAT(service.post(envelope("thmGetInfo"), line), HasSubstr("200 OK"));
    fake.refusedBytes = origin.size() + 1;
    fake.askedLevel = 0;
    EXPECT_THAT(service.post(envelope("thmGetInfo"), line), HasSubstr("HTTP/1.1 500"));
    EXPECT_EQ(0, fake.askedLevel) << "the gate would take it for a page of the unit";
    EXPECT_TRUE(waitFor([&] { return fake.trims == 1; }))
        << "the heap is given back, not " << fake.trims;
    fake.refusedBytes = 70; // of the clock's text
    EXPECT_THAT(service.post(envelope("thmGetInfo")), HasSubstr("thmGetInfoResponse"));
    EXPECT_TRUE(waitFor([&] { return fake.trims == 2; }))
        << "after an operation as well, not " << fake.trims;
}

// gSOAP writes to a fault, a detail and a look-aside buffer without asking whether they are there.
TEST(Memory, FaultsNeedNoneAndDoNotOutliveTheirRequest)
{
    setenv("SERVER_PORT", std::to_string(freePort()).c_str(), 1);
    readConfiguration();
    FakeHost fake;
    struct soap *soap = soap_new();
    initContext(soap);
    ASSERT_NE(-1, openService(soap));
    for (const short version : {short{1}, short{2}}) {
        soap->version = version;
        const auto *objects = soap->clist;
        soap_receiver_fault(soap, "reason", "detail");
        EXPECT_EQ(objects, soap->clist) << "nothing was allocated";
        EXPECT_STREQ("detail", *soap_faultdetail(soap));
        soap->labbuf = nullptr; // as after a failed allocation
        soap->lablen = 1 << 20;
        EXPECT_EQ(SOAP_OK, soap->fprepareinitsend(soap));
        EXPECT_EQ(SOAP_OK, soap_append_lab(soap, "x", 1));
        soap->accept_timeout = -1000; // microseconds
        forgetRequest(soap);
        serveConnection(soap); // writes the text of its failure to the fault
    }
    soap_free(soap);
}

static int (*sendBytes)(struct soap *, const char *, std::size_t);
static int sends;

TEST(Service, AnswersInOneSendAfterAPageThatCouldNotBeSent)
{
    setenv("SERVER_PORT", std::to_string(freePort()).c_str(), 1);
    readConfiguration();
    FakeHost fake;
    struct soap *soap = soap_new();
    ASSERT_NE(-1, openService(soap));
    sendBytes = soap->fsend;
    const auto answerTo = [soap](const std::string &type, const std::string &body) {
        const std::string request = "POST / HTTP/1.1\r\nContent-Type: " + type
                                    + "\r\nContent-Length: " + std::to_string(body.size())
                                    + "\r\n\r\n" + body;
        auto reply =
            std::async(std::launch::async, talk, g_serverPort, request, "127.0.0.1", false);
        serveConnection(soap);
        awaitDepartures();
        return reply.get();
    };
    soap->fsend = [](struct soap *, const char *, std::size_t) { return SOAP_EOF; };
    pgf_appUserVerify = appUserVerify;
    fake.level = 49; // a page that leads back to the login, without a failure on record
    EXPECT_EQ("", answerTo("application/x-www-form-urlencoded", "cgiMethod=Y2dpTG9naW4%3D"));
    soap->fsend = [](struct soap *context, const char *bytes, std::size_t size) {
        ++sends;
        return sendBytes(context, bytes, size);
    };
    EXPECT_THAT(answerTo("text/xml", envelope("getRTU")), HasSubstr("512Q"));
    EXPECT_EQ(1, sends);
    soap_free(soap);
}

TEST(Close, WaitsTenSecondsForTheRequestThatIsBeingServed)
{
    FakeHost fake;
    std::mutex busy;
    busy.lock();
    fake.onRead = [&](char *) {
        fake.record("busy");
        const std::lock_guard<std::mutex> wait(busy);
        return 0;
    };
    {
        Service service;
        const int client = connectTo(service.port());
        const std::string body = envelope("coreDbReadData", READ_ANALOG);
        const std::string request = "POST / HTTP/1.1\r\nContent-Type: text/xml\r\nContent-Length: "
                                    + std::to_string(body.size()) + "\r\n\r\n" + body;
        send(client, request.data(), request.size(), MSG_NOSIGNAL);
        EXPECT_TRUE(waitFor([&] { return fake.calls().size() == 2; }));

        EXPECT_EQ(1, ws_soap_close());
        EXPECT_EQ(2U + 10U, fake.calls().size()) << "ten waits of a second";
        busy.unlock();
        char reply[16] = "";
        EXPECT_EQ(15, recv(client, reply, 15, MSG_WAITALL));
        EXPECT_STREQ("HTTP/1.1 200 OK", reply) << "the request is still answered";
        close(client);
    }
    EXPECT_EQ("sleep(1)", fake.calls().back());
}

TEST(Service, RunsInAThreadNamedWebServerThatBlocksSigpipe)
{
    FakeHost fake;
    fake.onRead = [](char *text) {
        prctl(PR_GET_NAME, text);
        sigset_t blocked;
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        return sigismember(&blocked, SIGPIPE) == 1 ? 0 : 2;
    };
    Service service;
    EXPECT_THAT(service.post(envelope("coreDbReadData", READ_ANALOG)),
                HasSubstr("<return>webServer</return>"));
}

TEST(Service, LetsAHundredConnectionsWaitAndKeepsItsSocketsFromProgramsAndDescriptorZero)
{
    FakeHost fake;
    pgf_parseAuth = [](struct soap *soap, int) -> int {
        host().record(fcntl(soap->socket, F_GETFD) == FD_CLOEXEC ? "kept" : "passed on");
        return WS_ALLOWED;
    };
    const int input = dup(STDIN_FILENO);
    for (const bool withInput : {true, false}) {
        if (!withInput)
            close(STDIN_FILENO);
        const Service service;
        const int listener = __atomic_load_n(&g_wsSocket, __ATOMIC_ACQUIRE);
        EXPECT_GT(listener, STDERR_FILENO);
        EXPECT_EQ(FD_CLOEXEC, fcntl(listener, F_GETFD));
        struct tcp_info info = {};
        socklen_t size = sizeof info;
        getsockopt(listener, IPPROTO_TCP, TCP_INFO, &info, &size);
        EXPECT_TRUE(size < sizeof info || info.tcpi_sacked == 100) << "not told by the emulator";
        service.post(envelope("thmGetInfo"));
        EXPECT_EQ("kept", fake.calls().back());
    }
    dup2(input, STDIN_FILENO);
    close(input);
}

static int (*closeSocket)(struct soap *, SOAP_SOCKET);

TEST(Service, KeepsItsContextWhenTheHostExits)
{
    const auto serveAndExit = [] {
        FakeHost fake;
        pgf_parseAuth = [](struct soap *soap, int) -> int {
            closeSocket = soap->fclosesocket;
            soap->fclosesocket = [](struct soap *context, SOAP_SOCKET socket) {
                if (socket == context->master)
                    fputs("released", stderr);
                return closeSocket(context, socket);
            };
            return WS_ALLOWED;
        };
        const Service service;
        service.post(envelope("thmGetInfo"));
        exit(0);
    };
    EXPECT_EXIT(serveAndExit(), testing::ExitedWithCode(0), testing::Not(HasSubstr("released")));
}

TEST(Service, SurvivesClientsThatLeaveEarly)
{
    FakeHost fake;
    fake.point = std::string(311, 'x');
    signal(SIGPIPE, SIG_DFL);
    Service service;

    std::string names;
    for (int i = 0; i < 1000; ++i)
        names += "[A]";
    const std::string large = envelope(
        "coreDbReadMultData", "<inputType>analog</inputType><inputNames>" + names
                                  + "</inputNames><inputFormat/><inputNum>1000</inputNum>");
    const struct linger abort = {1, 0}; // close() resets the connection
    for (int i = 0; i < 20; ++i) {
        const int client = connectTo(service.port());
        const std::string request = "POST / HTTP/1.1\r\nContent-Type: text/xml\r\nContent-Length: "
                                    + std::to_string(large.size()) + "\r\n\r\n" + large;
        send(client, request.data(), request.size(), MSG_NOSIGNAL);
        setsockopt(client, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
        close(client);
    }
    EXPECT_THAT(service.post(envelope("getRTU")), HasSubstr("512Q"));
}
