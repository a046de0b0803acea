// sim/options.cpp: the command line, and with it the documentation that --help prints.
#include "options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <string>

#include "log.h"

static const int USAGE_ERROR = 2; // exit status

static const int MIN_PORT = 1;
static const int MAX_PORT = 65535;

static const char *const DESCRIPTION =
    "A simulated remote terminal unit on this PC: a real host process of libwebServer.so, with\n"
    "invented data. It answers SOAP and serves web pages until SIGINT or SIGTERM.";

static const char *const NOTES =
    "Points     Types status, analog, command, setPoint, for example analog FDR1_IA, status\n"
    "           BRK1_POS, command TAP1_RAISE, setPoint V_SETPOINT; all of them in points.cpp.\n"
    "           A reading is <value>|<quality>. Quality: GOOD, FORCED, BLOCKED or the flags it\n"
    "           was forced with. Unblocking a point releases it from forcing, too.\n"
    "Statuses   Read: 1 no such point, 2 unknown format, 3 no such type. Force and block: 2 no\n"
    "           such type, 3 no such point, 4 bad value, 5 bad flags.\n"
    "Functions  fnPutS and fnPut call, on any object: coreDb getLR; coreDb setLR (L local,\n"
    "           R remote, U unknown); thm setSource (number); unit uptime; unit echo (text).\n"
    "           Status: 1 no such container, 2 no such function, 3 bad argument.\n"
    "Requests   requests/ has an envelope for each operation, for example: curl -H 'Content-Type:\n"
    "           text/xml' --data-binary @requests/getRTU.xml http://127.0.0.1:33080/\n"
    "Accounts   admin/admin (level 250), operator/operator (200), viewer/viewer (50): for the\n"
    "           login page, http://127.0.0.1:33080/. SOAP needs none.\n"
    "Files      The unit sees the folder mnt/ of its state folder as /mnt, and nobody else does:\n"
    "           flash/cfgFiles/ (configuration), flash/ (uploaded netConfig.xml, userLogin.xml),\n"
    "           flash/log/unit.log (the log; the older part in unit.log.1), nvRam/ and\n"
    "           privatedata/. A start fills in samples that are missing and leaves what is there.\n"
    "           Where the system forbids a /mnt of its own, the log says so, and the unit has its\n"
    "           web pages, configuration and log only. The other options' paths below /mnt, too,\n"
    "           are the unit's. $XDG_STATE_HOME takes the place of ~/.local/state.\n"
    "Clock      The unit's own: setting its time leaves the machine's alone, and is forgotten\n"
    "           when the unit restarts.\n"
    "Reboot     A client that reboots the unit makes this program start itself again.\n"
    "Exit       0 stopped by a signal, 1 not started (port in use?), 2 wrong command line.\n"
    "\n"
    "An option that is not given leaves its environment variable, named in brackets, as it is.";

struct Options {
    std::string address;
    int port = 0;
    std::string webRoot;
    std::string configDir;
    std::string state;
};

static void apply(const CLI::App &app, const Options &options)
{
    struct Setting {
        const char *option;
        const char *variable;
        const std::string value;
    };
    const Setting settings[] = {
        {"--address",    "SERVER_ADDR",   options.address             },
        {"--port",       "SERVER_PORT",   std::to_string(options.port)},
        {"--web-root",   "WEB_DIR",       options.webRoot             },
        {"--config-dir", "CONFIG_DIR",    options.configDir           },
        {"--remote",     "WEB_IS_REMOTE", "Y"                         },
    };
    for (const Setting &setting : settings)
        if (app.count(setting.option) > 0)
            setenv(setting.variable, setting.value.c_str(), 1);

    if (app.count("--verbose") > 0)
        setLogLevel(LOG_LEVEL_DETAIL);
    if (app.count("--quiet") > 0)
        setLogLevel(LOG_LEVEL_WARN);
}

static void declare(CLI::App *app, Options *options)
{
    app->footer(NOTES);
    app->add_option("--address", options->address, "IPv4 address to listen on [SERVER_ADDR]")
        ->default_str("127.0.0.1")
        ->check(CLI::ValidIPV4);
    app->add_option("--port", options->port, "TCP port to listen on [SERVER_PORT]")
        ->default_str("33080")
        ->check(CLI::Range(MIN_PORT, MAX_PORT));
    app->add_option("--web-root", options->webRoot, "Folder of the web pages [WEB_DIR]")
        ->default_str("sim/www/");
    app->add_option("--config-dir", options->configDir, "Folder of the configuration [CONFIG_DIR]")
        ->default_str("/mnt/flash/cfgFiles/");
    app->add_option("--state", options->state, "Folder that keeps what the unit writes")
        ->default_str("~/.local/state/webServer-sim");
    app->add_flag("--remote", "Treat clients as remote: under local control, commands and set "
                              "points are refused; off by default [WEB_IS_REMOTE=Y]");
    CLI::Option *verbose = app->add_flag("--verbose", "Log every read and function call, too");
    app->add_flag("--quiet", "Log only warnings and errors; by default changes, too")
        ->excludes(verbose);
}

bool readOptions(int argc, char **argv, std::string *stateFolder, int *exitStatus)
{
    CLI::App app(DESCRIPTION);
    Options options;
    declare(&app, &options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) { // help, too; the parser has no other way to say it
        *exitStatus = app.exit(error) == 0 ? 0 : USAGE_ERROR;
        return false;
    }
    apply(app, options);
    *stateFolder = options.state;
    return true;
}
