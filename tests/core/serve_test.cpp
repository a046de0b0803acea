// tests/core/serve_test.cpp: the service over a real socket: bind, serve, close, and start again.
#include <algorithm>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <httpget.h>
#include <netinet/tcp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "core/config.h"
#include "core/serve_loop.h"
#include "core/service_thread.h"
#include "gsoap/context.h"
#include "support/cases.h"
#include "support/wire.h"

using namespace std::string_literals;
using testing::HasSubstr;

// Returns true when no thread has the name of the service thread.
static bool ended()
{
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::none_of(begin(tasks), end(tasks), [](const auto &task) {
        std::string name;
        return std::ifstream(task.path() / "comm") >> name && name == "webServer";
    });
}

TEST(Bind, FailureIsLoggedAndRebootsTheUnit)
{
    struct soap *holder = (FakeHost(), openOnFreePort(soap_new()));
    const int used = g_serverPort;
    const std::tuple<std::string, int, const char *> cases[] = {
        {"127.0.0.1", used, "Address already in use"},
        {"127.0.0.1", -1, "Invalid argument"},
        {"127.0.0.1", 65536, "Invalid argument"},
        {"127.0.0.1", 65536 + 24000, "Invalid argument"},
        {"192.0.2.1", 24000, "Cannot assign.*"},
        {"no.such.address.invalid", 24000, ".+"}};
    for (const auto &[address, port, reason] : cases) {
        setenv("SERVER_ADDR", address.c_str(), 1);
        setenv("SERVER_PORT", std::to_string(port).c_str(), 1);
        FakeHost fake;
        EXPECT_EQ(0, httpd());
        EXPECT_TRUE(waitFor([&] { return fake.calls().size() == 2 && ended(); }));
        EXPECT_EQ("sync() reboot(" + std::to_string(0x01234567) + ")", fake.callsText());
        EXPECT_EQ(-1, __atomic_load_n(&g_wsSocket, __ATOMIC_ACQUIRE));
        EXPECT_EQ(0, g_wsRunningSocket);
        EXPECT_THAT(fake.log(),
                    testing::ContainsRegex(
                        "E webServer: rebooting system since socket binding fails for " + address
                        + ":" + std::to_string(port) + ". Soap error: " + reason + "\n"));
    }
    soap_free(holder);
    unsetenv("SERVER_ADDR");
}

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
    EXPECT_TRUE(startsToRun());
    EXPECT_EQ(0, ws_soap_close());
}

TEST(Close, IdleServiceStopsQuietlyAndCanStartAgain)
{
    FakeHost fake;
    const int port = freePort();
    const std::string closing = "I webServer: closing\n";
    const std::string listening =
        "webServer: Listening address 127.0.0.1:" + std::to_string(port) + "\n";
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, ws_soap_close()) << "nothing to close yet";
    for (int run = 0; run < 3; ++run) {
        const Service service(port); // on which connections of the run before still linger
        EXPECT_THAT(service.post(envelope("getRTU")), HasSubstr("<return>512Q</return>"));
    }
    EXPECT_EQ(expanded("{" + listening + "*3}"), testing::internal::GetCapturedStdout());
    EXPECT_EQ(-1, g_wsSocket);
    EXPECT_EQ(0, g_wsRunningSocket);
    EXPECT_EQ(0, ws_soap_close());
    EXPECT_EQ(expanded(closing + "{I " + listening + closing + "*3}") + closing, fake.log());
}

// A host may start the service again, with the same context, as soon as the socket is gone.
TEST(Close, ReleasesTheContextFirstAndReturnsWhatClosingTheListeningSocketReturned)
{
    setenv("SERVER_PORT", std::to_string(freePort()).c_str(), 1);
    readConfiguration();
    FakeHost fake;
    struct soap *soap = soap_new();
    soap_register_plugin(soap, [](struct soap *, struct soap_plugin *plugin, void *) -> int {
        plugin->id = "released";
        plugin->fdelete = [](struct soap *, struct soap_plugin *) {
            host().record(g_wsSocket == -1 ? "late" : "in time");
        };
        return SOAP_OK;
    });
    auto result = std::async(std::launch::async, ws_soap_main, soap);
    EXPECT_TRUE(startsToRun());
    EXPECT_EQ(0, ws_soap_close());
    EXPECT_EQ(0, result.get());
    EXPECT_EQ("in time", fake.calls().back());
    soap_free(soap);
}

TEST(Accept, FailuresAreLoggedUnlessTheServiceIsBeingClosed)
{
    FakeHost fake;
    struct soap *soap = openOnFreePort(soap_new());
    EXPECT_EQ(0, soap->accept_timeout) << "the service waits for clients without a limit";
    soap->accept_timeout = -1000; // microseconds
    serveConnection(soap);
    EXPECT_EQ("", fake.log());
    g_wsRunningSocket = 1;
    serveConnection(soap);
    EXPECT_EQ("W webServer: Server timed out (timeout set to -1000 seconds)\n", fake.log());
    soap->accept_timeout = 0;
    static const auto accepts = soap->faccept;
    // Errors, and whether each is logged; 0: a connection is accepted.
    static const std::pair<int, bool> ATTEMPTS[] = {
        {EMFILE, true}, {EMFILE, false}, {ENFILE, false}, {ENOBUFS, false},
        {EPERM, true},  {ENOMEM, false}, {0, true},       {0, false},
        {ENOMEM, true}, {0, true},       {EPERM, true},   {EPERM, true}};
    static int error;
    soap->faccept = [](struct soap *context, SOAP_SOCKET master, struct sockaddr *from, int *size) {
        errno = error;
        return error == 0 ? accepts(context, master, from, size) : SOAP_INVALID_SOCKET;
    };
    for (const auto &[attempt, logged] : ATTEMPTS) {
        error = attempt;
        std::string expected = fake.log();
        if (logged)
            expected += error == 0 ? "I webServer: connections are accepted again\n"
                                   : "E webServer soap error: "s + strerror(error) + "\n";
        if (error == 0)
            const Client gone(g_serverPort);
        testing::internal::CaptureStderr();
        serveConnection(soap);
        EXPECT_EQ(expected, fake.log());
        EXPECT_EQ(logged && error != 0, !testing::internal::GetCapturedStderr().empty());
    }
    g_wsRunningSocket = 0;
    soap_free(soap);
}

TEST(Memory, APlugInThatFindsNoneIsLoggedAndTheOthersServe)
{
    static const std::pair<std::size_t, const char *> CASES[] = {
        {sizeof(struct http_get_data),
         "E webServer: cannot register the plug-in for GET requests: "},
        {4 * sizeof(void *), "E webServer: no memory for the form plug-in: forms are refused\n"},
    };
    for (const auto &[refusedBytes, log] : CASES) {
        FakeHost fake;
        fake.refusedBytes = refusedBytes;
        const Service service;
        EXPECT_THAT(fake.log(), testing::StartsWith(log));
        fake.refusedBytes = 0;
        EXPECT_THAT(service.post(envelope("getRTU")), HasSubstr("512Q"));
    }
}

// gSOAP writes to a fault, a detail and a look-aside buffer without asking whether they are there.
TEST(Memory, FaultsNeedNoneAndDoNotOutliveTheirRequest)
{
    FakeHost fake;
    struct soap *soap = openOnFreePort(soap_new());
    for (const short version : {short{1}, short{2}}) {
        soap->version = version;
        const auto *objects = soap->clist;
        soap_receiver_fault(soap, "reason", "detail");
        EXPECT_EQ(objects, soap->clist) << "nothing was allocated";
        EXPECT_STREQ("detail", *soap_faultdetail(soap));
        free(std::exchange(soap->labbuf, nullptr)); // as after a failed allocation
        soap->lablen = 1 << 20;
        EXPECT_EQ(SOAP_OK, soap->fprepareinitsend(soap));
        EXPECT_EQ(SOAP_OK, soap_append_lab(soap, "x", 1));
        soap->accept_timeout = -1000; // microseconds
        forgetRequest(soap);
        serveConnection(soap); // writes the text of its failure to the fault
    }
    soap_free(soap);
}

TEST(Service, HasItsOwnThreadAndSocketsThatNoProgramInherits)
{
    FakeHost fake;
    pgf_parseAuth = [](struct soap *soap, int) -> int {
        char name[16];
        prctl(PR_GET_NAME, name);
        sigset_t blocked;
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        host().record(name + (sigismember(&blocked, SIGPIPE) == 1 ? " without SIGPIPE, "s : ", "s)
                      + (fcntl(soap->socket, F_GETFD) == FD_CLOEXEC ? "kept" : "passed on"));
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
        EXPECT_EQ("webServer without SIGPIPE, kept", fake.calls().back());
    }
    dup2(input, STDIN_FILENO);
    close(input);
}

TEST(Service, KeepsItsContextWhenTheHostExits)
{
    const auto serveAndExit = [] {
        FakeHost fake;
        pgf_parseAuth = [](struct soap *soap, int) -> int {
            static const auto closeSocket = soap->fclosesocket;
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
