// core/config.cpp: reads the environment once, at start, into the configuration globals.
#include "core/config.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "webServer.h"
#include "webServerHost.h"

const char *g_webDir = nullptr;
const char *g_configDir = nullptr;
const char *g_sslDir = nullptr;
const char *g_rootFile = nullptr;
const char *g_serverAddr = nullptr;
int g_serverPort = 0;
int g_webRemote = 0;
int g_webStrict = 0;
int g_webCpuMs = 0;

static constexpr int DEFAULT_PORT = 33080;
static constexpr int DEFAULT_CPU_MS = 2000;

enum TextKind { IS_FOLDER, IS_TEXT };

struct TextSetting {
    const char *variable;
    const char **global;
    const char *fallback; // when the variable is unset or empty
    TextKind kind;        // a folder gets a trailing separator
};

static constexpr TextSetting TEXT_SETTINGS[] = {
    {"WEB_DIR",     &g_webDir,     "/mnt/bf/webFiles/",    IS_FOLDER},
    {"CONFIG_DIR",  &g_configDir,  "/mnt/flash/cfgFiles/", IS_FOLDER},
    {"SSL_DIR",     &g_sslDir,     "/mnt/bf/ssl/",         IS_FOLDER},
    {"ROOT_FILE",   &g_rootFile,   "index.htm",            IS_TEXT  },
    {"SERVER_ADDR", &g_serverAddr, "127.0.0.1",            IS_TEXT  },
};

// The environment's storage must not be written to, so a folder is extended in a copy. The copy is
// never freed: the host may hold the pointer for as long as the process lives. Returns null if there is
// no memory.
static const char *withSeparator(const char *folder)
{
    const char last = folder[strlen(folder) - 1];
    if (last == '/' || last == '\\')
        return folder;
    char *copy = static_cast<char *>(malloc(strlen(folder) + sizeof "/"));
    if (copy != nullptr)
        stpcpy(stpcpy(copy, folder), "/");
    return copy;
}

// Returns the fallback when the variable is unset, 0 or no number.
static int readNumber(const char *variable, int fallback)
{
    const char *text = getenv(variable);
    const int number = text == nullptr ? 0 : atoi(text);
    return number == 0 ? fallback : number;
}

static int readSwitch(const char *variable)
{
    const char *text = getenv(variable);
    return text != nullptr && strcmp(text, "Y") == 0 ? 1 : 0;
}

int readConfiguration()
{
    for (const TextSetting &setting : TEXT_SETTINGS) {
        const char *text = getenv(setting.variable);
        if (text == nullptr || *text == '\0')
            text = setting.fallback;
        *setting.global = setting.kind == IS_FOLDER ? withSeparator(text) : text;
        if (*setting.global == nullptr) {
            sLogErr("webServer: no memory for %s", setting.variable);
            return -1;
        }
    }

    g_serverPort = readNumber("SERVER_PORT", DEFAULT_PORT);
    g_webRemote = readSwitch("WEB_IS_REMOTE");
    g_webStrict = readSwitch("WEB_STRICT");
    const int cpuMs = readNumber("WEB_CPU_MS", DEFAULT_CPU_MS);
    g_webCpuMs = cpuMs > 0 ? cpuMs : DEFAULT_CPU_MS;
    return 0;
}

void reportMissingWebRoot()
{
    if (access(g_webDir, X_OK) != 0)
        sLogWarn("webServer: web root %s: %s", g_webDir, strerror(errno));
}
