// sim/options.cpp: the command line, and with it the documentation that --help prints.
#include "options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <string>

#include "log.h"
#include "webServer.h"

static const int USAGE_ERROR = 2; // exit status

static const int MIN_PORT = 1;
static const int MAX_PORT = 65535;

static const char *const DEFAULT_POINTS = SIM_FOLDER "/points.json";
static const char *const DEFAULT_CORE_DB_VERSION = "coreDb: 10.02.01";

static const char *const DESCRIPTION =
    "A simulated remote terminal unit on this PC: a real host process of libwebServer.so, with\n"
    "invented data. It answers SOAP and serves web pages until SIGINT or SIGTERM.";

static const char *const NOTES =
    "Points     Types status, analog, command, setPoint, for example analog FDR1_IA, status\n"
    "           BRK1_POS, command TAP1_RAISE, setPoint V_SETPOINT. A reading is\n"
    "           <value>|<quality>. Quality: GOOD, FORCED, BLOCKED or the flags it was forced\n"
    "           with. Unblocking a point releases it from forcing, too.\n"
    "           They come from a JSON file, a list of objects such as {\"type\": \"analog\",\n"
    "           \"name\": \"T1\", \"simulation\": \"sine\", \"from\": 20, \"to\": 60, \"seconds\": "
    "30,\n"
    "           \"unit\": \"degC\", \"text\": \"Oil\"} or {\"type\": \"command\", \"name\": "
    "\"RESET\"}.\n"
    "           simulation is sine (between from and to, period seconds), ramp (from from to to\n"
    "           in seconds, again and again), walk (a random step every seconds), toggle (from\n"
    "           for seconds, then to) or constant: this is the default, and all that commands\n"
    "           and set points can be, with \"value\" (default 0) in place of the three numbers.\n"
    "           unit (12 bytes) and text are for people. Names have 1 to 60 of A-Z, a-z, 0-9, _\n"
    "           . and -, and a type has at most 1000 points. Comments begin with //. A start\n"
    "           writes the list for the pages, flash/cfgFiles/points.xml.\n"
    "Statuses   Read: 1 no such point, 2 unknown format, 3 no such type. Force and block: 2 no\n"
    "           such type, 3 no such point, 4 bad value, 5 bad flags.\n"
    "Functions  fnPutS and fnPut call, on any object: coreDb getLR; coreDb setLR (L local,\n"
    "           R remote, U unknown); thm setSource (number); unit uptime; unit echo (text).\n"
    "           Status: 1 no such container, 2 no such function, 3 bad argument.\n"
    "Security   host: accounts in flash/security/accounts. A new unit has admin (role ADMIN),\n"
    "           engineer (ENGINEER), operator (OPERATOR) and viewer (VIEWER), each with its name\n"
    "           as password. The highest role counts: VIEWER is level 50, OPERATOR 200,\n"
    "           ENGINEER 250, ADMIN 250 and may administer users. Browsers log in at\n"
    "           http://127.0.0.1:33080/; a SOAP client sends its password with each request, as\n"
    "           <Authentication>user:password</Authentication> in the SOAP header, or the cookie\n"
    "           of a login. Five wrong passwords in a row lock a user for 60 seconds. A session\n"
    "           ends after 900 seconds without use, when an administrator locks its user, and\n"
    "           when his password is changed elsewhere. It counts from the address that logged\n"
    "           in, and not for pages of other sites. More users: stop the unit and copy a line\n"
    "           of the file; mkpasswd -m yescrypt (package whois) makes a hash. Clients who can\n"
    "           read any file or upload under any name can read the hashes or replace the\n"
    "           accounts: keep strangers off the port.\n"
    "           off: SOAP is open to everybody. The login page knows admin/admin, level 250.\n"
    "Users      setUserRoles takes names of roles, parted by blanks or commas; setUserPassword 8\n"
    "           to 127 bytes, from an administrator or the user himself; setUserLock 1 until 0,\n"
    "           which also ends the lock of wrong passwords, as an administrator's new password\n"
    "           does. They answer 0 done, 1 you may not, 2 no such user, 3 bad value, 4 no\n"
    "           administrator could log in any more, 5 not saved: nothing has changed. Lists are\n"
    "           empty for all but administrators; a user may list his own roles.\n"
    "Requests   requests/ has an envelope for each operation, for example: curl -H 'Content-Type:\n"
    "           text/xml' --data-binary @requests/getRTU.xml http://127.0.0.1:33080/\n"
    "Files      The unit sees the folder mnt/ of its state folder as /mnt, and nobody else does:\n"
    "           flash/cfgFiles/ (configuration), flash/ (uploaded netConfig.xml, userLogin.xml),\n"
    "           flash/security/ (accounts), flash/log/unit.log (the log; the older part in\n"
    "           unit.log.1), nvRam/ and privatedata/. A start fills in samples that are missing,\n"
    "           writes the list of points, and leaves what else is there. Where the system\n"
    "           forbids a /mnt of its own, the log says so, and the unit has its web pages,\n"
    "           configuration, accounts and log only. The other options' paths below /mnt, too,\n"
    "           are the unit's. $XDG_STATE_HOME takes the place of ~/.local/state.\n"
    "Clock      The unit's own: setting its time leaves the machine's alone, and is forgotten\n"
    "           when the unit restarts.\n"
    "Reboot     A client that reboots the unit makes this program start itself again.\n"
    "Exit       0 stopped by a signal, 1 not started (port in use? damaged file?), 2 wrong command "
    "line.\n"
    "\n"
    "An option that is not given leaves its environment variable, named in brackets, as it is.";

static const char *const HOST_SECURITY = "host";
static const char *const OWN_SECURITY = "off"; // the library's

// What the library reads from the environment.
struct ServiceOptions {
    std::string address;
    int port = 0;
    std::string webRoot;
    std::string configDir;
};

static void apply(const CLI::App &app, const ServiceOptions &options)
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

static void declareService(CLI::App *app, ServiceOptions *options)
{
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
    app->add_flag("--remote", "Treat clients as remote: under local control, commands and set "
                              "points are refused; off by default [WEB_IS_REMOTE=Y]");
}

static void declareUnit(CLI::App *app, Options *options, std::string *security)
{
    app->add_option("--points", options->points, "File of the unit's points")
        ->default_str("sim/points.json");
    app->add_option("--security", *security,
                    "Whose accounts and rights: host (the unit's own) or off")
        ->default_str(HOST_SECURITY)
        ->check(CLI::IsMember({HOST_SECURITY, OWN_SECURITY}));
    app->add_option("--coredb-version", options->coreDbVersion,
                    "What the database tells as its version. Characters 9 and 10 are the major "
                    "version; below 10, forcing with quality is refused")
        ->capture_default_str();
    app->add_option("--state", options->state, "Folder that keeps what the unit writes")
        ->default_str("~/.local/state/webServer-sim");
    CLI::Option *verbose = app->add_flag("--verbose", "Log every read and function call, too");
    app->add_flag("--quiet", "Log only warnings and errors; by default changes, too")
        ->excludes(verbose);
}

bool readOptions(int argc, char **argv, Options *options, int *exitStatus)
{
    CLI::App app(DESCRIPTION);
    app.footer(NOTES);
    ServiceOptions service;
    std::string security = HOST_SECURITY;
    options->points = DEFAULT_POINTS;
    options->coreDbVersion = DEFAULT_CORE_DB_VERSION;
    declareService(&app, &service);
    declareUnit(&app, options, &security);
    char *version = nullptr;
    webServerShowVer(&version);
    app.set_version_flag("--version", version, "Print the library's version and exit");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) { // help, too; the parser has no other way to say it
        *exitStatus = app.exit(error) == 0 ? 0 : USAGE_ERROR;
        return false;
    }
    apply(app, service);
    options->hostSecurity = security == HOST_SECURITY;
    return true;
}
