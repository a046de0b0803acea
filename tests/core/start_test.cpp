// tests/core/start_test.cpp: configuration, default hooks, version banner, C names.
#include <cerrno>
#include <cstdlib>
#include <gmock/gmock.h>
#include <string>
#include <tuple>
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

// Sets a variable; null unsets it.
static void setVariable(const char *name, const char *value)
{
    unsetenv(name);
    if (value != nullptr)
        setenv(name, value, 1);
}

TEST(Configuration, EveryTextHasADefaultAndFoldersEndInASeparator)
{
    static const std::tuple<const char *, const char **, const char *, const char *> CASES[] = {
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
    static const char *keep[std::size(CASES)], **next = keep; // texts are never freed: no leak
    for (const auto &[variable, global, value, expected] : CASES) {
        setVariable(variable, value);
        readConfiguration();
        EXPECT_STREQ(expected, *next++ = *global) << variable;
        EXPECT_STREQ(value, getenv(variable)) << "the environment was written to";
        unsetenv(variable);
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
    static const std::tuple<const char *, const char *, int, int, int> CASES[] = {
        {"", "", 33080, 2000, 0},          {"abc", "y", 33080, 2000, 0},
        {"0", "Yes", 33080, 2000, 0},      {"8080x", "1", 8080, 8080, 0},
        {"-5", "Y", -5, 2000, 1},          {"70000", "Y ", 70000, 70000, 0},
        {nullptr, nullptr, 33080, 2000, 0}};
    for (const auto &[number, text, port, cpuMs, on] : CASES) {
        for (const char *variable : {"SERVER_PORT", "WEB_CPU_MS"})
            setVariable(variable, number);
        for (const char *variable : {"WEB_IS_REMOTE", "WEB_STRICT"})
            setVariable(variable, text);
        readConfiguration();
        EXPECT_EQ(std::tie(port, cpuMs, on, on),
                  std::tie(g_serverPort, g_webCpuMs, g_webRemote, g_webStrict));
    }
}

// Read before any test or start has changed them.
static const std::vector<int> AT_LOAD = {g_csEnabled,  g_highLevel, sessTimeOut,
                                         g_lowLevel,   g_wsSocket,  g_webRemote,
                                         g_serverPort, g_webStrict, g_webCpuMs};

TEST(Settings, HaveTheirDefaultsAtLoad)
{
    EXPECT_EQ((std::vector<int>{0, 200, 900, 0, -1, 0, 0, 0, 0}), AT_LOAD);
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
