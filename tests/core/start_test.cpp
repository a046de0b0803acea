// tests/core/start_test.cpp: configuration, default hooks, version record and banner, C names.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <link.h>
#include <string>
#include <vector>

#include "core/config.h"
#include "core/hooks.h"
#include "support/fake_host.h"

// Declared without the generated header: it links only while operations have C linkage.
extern "C" int ns__getRTU(struct soap *, char **);

TEST(Operation, IsCalledByItsCName)
{
    char *type = nullptr;
    EXPECT_EQ(0, ns__getRTU(nullptr, &type));
    EXPECT_STREQ("512Q", type);
}

TEST(Configuration, EveryTextHasADefaultAndFoldersEndInASeparator)
{
    static const struct {
        const char *variable, *const *global, *value, *expected; // value null: unset
    } CASES[] = {
        {"WEB_DIR", &g_webDir, nullptr, "/mnt/bf/webFiles/"},
        {"WEB_DIR", &g_webDir, "", "/mnt/bf/webFiles/"},
        {"WEB_DIR", &g_webDir, "/data/web", "/data/web/"},
        {"WEB_DIR", &g_webDir, "/data/web/", "/data/web/"},
        {"WEB_DIR", &g_webDir, "C:\\web\\", "C:\\web\\"},
        {"CONFIG_DIR", &g_configDir, nullptr, "/mnt/flash/cfgFiles/"},
        {"CONFIG_DIR", &g_configDir, "c", "c/"},
        {"SSL_DIR", &g_sslDir, "", "/mnt/bf/ssl/"},
        {"SSL_DIR", &g_sslDir, "/", "/"},
        {"ROOT_FILE", &g_rootFile, "", "index.htm"},
        {"ROOT_FILE", &g_rootFile, "start", "start"},
        {"SERVER_ADDR", &g_serverAddr, "", "127.0.0.1"},
        {"SERVER_ADDR", &g_serverAddr, "127.0.0.9", "127.0.0.9"},
    };
    static const char *keep[std::size(CASES)]; // texts are never freed; kept here, they are no leak
    for (std::size_t i = 0; i < std::size(CASES); ++i) {
        const auto &row = CASES[i];
        unsetenv(row.variable);
        if (row.value != nullptr)
            setenv(row.variable, row.value, 1);
        readConfiguration();
        EXPECT_STREQ(row.expected, keep[i] = *row.global) << row.variable << " in row " << i;
        EXPECT_STREQ(row.value, getenv(row.variable)) << "the environment was written to";
        unsetenv(row.variable);
    }
}

TEST(Configuration, AFolderWithoutMemoryStopsTheStart)
{
    for (const char *variable : {"WEB_DIR", "CONFIG_DIR", "SSL_DIR"}) {
        setenv(variable, "/data/folder", 1);
        FakeHost fake;
        fake.refusedBytes = sizeof "/data/folder/";
        fake.createError = EAGAIN; // a start of the thread would be logged
        pgf_parseAuth = nullptr;
        EXPECT_EQ(-1, webServer_Web_Start());
        EXPECT_EQ(std::string("E webServer: no memory for ") + variable + "\n", fake.log());
        EXPECT_EQ(nullptr, pgf_parseAuth);
        unsetenv(variable);
    }
}

TEST(Configuration, NumbersHaveADefaultAndOnlyYTurnsASwitchOn)
{
    static const struct {
        const char *number, *text; // null: unset
        int port, cpuMs, on;
    } CASES[] = {{nullptr, nullptr, 33080, 2000, 0}, {"", "", 33080, 2000, 0},
                 {"abc", "y", 33080, 2000, 0},       {"0", "Yes", 33080, 2000, 0},
                 {"8080x", "1", 8080, 8080, 0},      {"-5", "Y", -5, 2000, 1},
                 {"70000", "Y ", 70000, 70000, 0}};
    const auto set = [](const char *variable, const char *value) {
        unsetenv(variable);
        if (value != nullptr)
            setenv(variable, value, 1);
    };
    for (const auto &row : CASES) {
        for (const char *variable : {"SERVER_PORT", "WEB_CPU_MS"})
            set(variable, row.number);
        for (const char *variable : {"WEB_IS_REMOTE", "WEB_STRICT"})
            set(variable, row.text);
        readConfiguration();
        EXPECT_EQ((std::vector<int>{row.port, row.cpuMs, row.on, row.on}),
                  (std::vector<int>{g_serverPort, g_webCpuMs, g_webRemote, g_webStrict}))
            << row.number << " " << row.text;
    }
    for (const char *variable : {"SERVER_PORT", "WEB_CPU_MS", "WEB_IS_REMOTE", "WEB_STRICT"})
        unsetenv(variable);
}

// Read before any test or start has changed them.
static const std::vector<int> AT_LOAD = {g_csEnabled, g_highLevel, sessTimeOut,  g_lowLevel,
                                         g_wsSocket,  g_webRemote, g_serverPort, g_webStrict};

TEST(Settings, HaveTheirDefaultsAtLoad)
{
    EXPECT_EQ((std::vector<int>{0, 200, 900, 0, -1, 0, 0, 0}), AT_LOAD);
}

TEST(Hooks, DefaultsReplaceTheHostsOnlyWhenItsSecurityIsOff)
{
    FakeHost fake;
    installSecurityHooks();
    pgf_getAuthorization = [](const char *, int, int) { return 0; };
    pgf_appUserVerify = [](const char *, const char *, char *) { return 0; };
    const auto hooks = [] {
        return std::vector<bool>{
            pgf_closeSession != nullptr,        pgf_getSessionStatus != nullptr,
            pgf_getAuthorization != nullptr,    pgf_ws_getUsersList != nullptr,
            pgf_ws_getRolesList != nullptr,     pgf_ws_getRolesListByUser != nullptr,
            pgf_ws_setUserRoles != nullptr,     pgf_ws_setUserPassword != nullptr,
            pgf_ws_getUserLockState != nullptr, pgf_ws_setUserLock != nullptr,
            pgf_parseAuth != parseAuth,         pgf_appUserVerify != appUserVerify};
    };

    installDefaultHooks();
    EXPECT_EQ(std::vector<bool>(12, true), hooks()) << "host security is on: none is touched";

    g_csEnabled = 0;
    installDefaultHooks();
    EXPECT_EQ(std::vector<bool>(12, false), hooks());
    EXPECT_NE(nullptr, pgf_ws_getLockedUsers);
    EXPECT_EQ(WS_ALLOWED, pgf_parseAuth(nullptr, WS_LEVEL_REBOOT));
}

TEST(Version, BannerGoesToTheCallerOrToStandardOutput)
{
    char *banner = nullptr;
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, webServerShowVer(&banner));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_THAT(banner, testing::MatchesRegex("webServer:v03\\.03\\.03:[A-Z][a-z][a-z] +[0-9]+ "
                                              "[0-9]+ [0-9]+:[0-9]+:[0-9]+\n"));
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, webServerShowVer(nullptr));
    EXPECT_EQ(banner, testing::internal::GetCapturedStdout());
}

// Finds the record as a firmware tool does in the library's file.
TEST(Version, RecordLiesBetweenItsMarkersInWritableData)
{
    std::ifstream file(WEBSERVER_LIBRARY, std::ios::binary);
    const std::string image((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    const std::size_t begin = image.find(std::string("markBeginVer\0v03\0.03.03\0", 24));
    ASSERT_NE(std::string::npos, begin);
    const std::size_t end = image.find(std::string("markEndVer\0", 11), begin);
    EXPECT_EQ(begin + 24 + sizeof "Mmm dd yyyy" + sizeof "hh:mm:ss", end);

    const auto *header = reinterpret_cast<const ElfW(Ehdr) *>(image.data());
    const auto *segments = reinterpret_cast<const ElfW(Phdr) *>(image.data() + header->e_phoff);
    bool writable = false;
    for (int i = 0; i < header->e_phnum; ++i)
        if (segments[i].p_type == PT_LOAD && begin >= segments[i].p_offset
            && end < segments[i].p_offset + segments[i].p_filesz)
            writable = (segments[i].p_flags & PF_W) != 0;
    EXPECT_TRUE(writable);
}
