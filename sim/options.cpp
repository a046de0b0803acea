// sim/options.cpp: the command line, and the documentation that --help prints.
#include "options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

#include "log.h"
#include "webServer.h"

static const int USAGE_ERROR = 2; // exit status
static const int MIN_PORT = 1;
static const int MAX_PORT = 65535;

static const char *const DEFAULT_ADDRESS = "127.0.0.1"; // the library's, as the port is
static const char *const DEFAULT_PORT = "33080";

static const char *const HOST_SECURITY = "host";
static const char *const OWN_SECURITY = "off"; // the library's

static const char *const CLOSED_DOORS = "on";
static const char *const OPEN_DOORS = "off";

static const char *const DESCRIPTION =
    R"(A simulated remote terminal unit on this PC: a real host process of libwebServer.so, with
invented data. It answers SOAP and serves web pages until SIGINT or SIGTERM.)";

static const char *const NOTES =
    R"(Points     A point has a type (status, analog, command, setPoint) and a name: analog FDR1_IA,
           status BRK1_POS, command TAP1_RAISE, setPoint V_SETPOINT. It reads as
           <value>|<quality>. The quality is GOOD, FORCED, BLOCKED or the flags the point was
           forced with. Unblocking a point also ends its forcing.
           The points come from a JSON file, a list of objects such as {"type": "analog",
           "name": "T1", "simulation": "sine", "from": 20, "to": 60, "seconds": 30, "unit":
           "degC", "text": "Oil"} or {"type": "command", "name": "RESET"}. Comments begin
           with //. A simulation is sine (between from and to, with a period of seconds), ramp
           (from from to to in seconds, then again), walk (a random step every seconds), toggle
           (from for seconds, then to) or constant, the default. A constant point has "value"
           (default 0) in place of the three numbers; commands and set points are always
           constant. A name has 1 to 60 of A-Z, a-z, 0-9, _, . and -. A type has at most 1000
           points. When the unit starts, it lists its points for the pages in
           flash/cfgFiles/points.xml, with the texts that people see: group (the bay), unit (at
           most 12 bytes), text, states (the words for the values 0, 1, ... of a status:
           "open|closed"), alarm (the word that is an alarm), button (what a command does).
Statuses   Read: 1 no such point, 2 unknown format, 3 no such type. Force and block: 2 no such
           type, 3 no such point, 4 bad value, 5 bad flags.
Functions  fnPutS and fnPut call, on any object: coreDb getLR; coreDb setLR (L local, R remote,
           U unknown); thm setSource (number); thm utcOffset (+hhmm); unit idleLimit (seconds);
           unit uptime; unit echo (text). Status: 1 no such container, 2 no such function, 3 bad
           argument.
Security   host: flash/security/accounts has the users. A new unit has admin (role ADMIN),
           engineer (ENGINEER), operator (OPERATOR) and viewer (VIEWER); the password is the
           name. A user has the level of the highest role: VIEWER 50, OPERATOR 200, ENGINEER
           250, ADMIN 250; ADMIN may also administer users. Browsers log in at
           http://127.0.0.1:33080/. A SOAP client sends with each request either its password,
           as <Authentication>user:password</Authentication> in the SOAP header, or the cookie
           of a login. Five wrong passwords in a row lock a user for 60 seconds. A session ends
           after 900 seconds without use, when an administrator locks the user, and when the
           password is changed elsewhere. It is valid only from the address that logged in, and
           not for pages of other sites. To add a user, stop the unit and copy a line of the
           file; mkpasswd -m yescrypt (package whois) makes a hash. With --strict off, everybody
           who reaches the port can read the hashes, and who may upload can replace the
           accounts.
           off: SOAP is open to everybody. The login page accepts admin/admin, level 250.
Doors      With --strict on the unit refuses a path with "..", a query on anything but a page, an
           upload under a name that is not plain, a form from a page of another site, a request
           of more than 1 MiB, and one that leaves open where it ends. A SOAP reply of more than
           1.125 MiB becomes a fault. After a wrong password at the login page, the next login
           from that address must wait for 1 second, then for 2, up to 16. The session's cookie
           says SameSite=Strict, and with --security off its id cannot be guessed. With
           --strict off the unit does as units in the field do.
Users      setUserRoles takes the names of roles, separated by spaces or commas.
           setUserPassword takes 8 to 127 bytes, from an administrator or from the user.
           setUserLock takes 1 (locked) or 0, which also ends a lock for wrong passwords; so
           does a new password from an administrator. They answer 0 done, 1 you may not, 2 no
           such user, 3 bad value, 4 no administrator could log in any more, 5 not saved. Only
           0 changes anything. Administrators get lists of users and roles; a user may list
           his own roles.
Requests   requests/ has an envelope for each operation, for example: curl -H 'Content-Type:
           text/xml' --data-binary @requests/getRTU.xml http://127.0.0.1:33080/
Files      scripts/run and scripts/private_mnt show the folder mnt/ of the state folder as /mnt
           to the unit, and to nobody else: flash/cfgFiles/ (configuration), flash/ (uploaded
           netConfig.xml and userLogin.xml), flash/security/ (users), flash/log/unit.log (the
           log; older lines in unit.log.1), nvRam/ and privatedata/. The paths of the other
           options are seen the same way. $XDG_STATE_HOME takes the place of ~/.local/state.
           The unit copies samples that are missing, lists its points, and changes no other file.
           Without those scripts it starts only where /mnt is a mount of a folder that has a
           file simulated_unit. One state folder serves one unit at a time.
Clock      The unit has its own clock: setting it leaves the machine's alone. A restart
           forgets it.
Reboot     When a client reboots the unit, this program starts itself again.
Exit       0 stopped by a signal, 1 not started, with the reason in one line, 2 wrong command
           line.

An option that is not given leaves its environment variable, named in brackets, as it is, but
WEB_STRICT becomes Y if it is not set.)";

// The library reads these options from the environment.
static CLI::Option *addVariable(CLI::App *app, const char *option, const char *variable,
                                const char *preset, const char *help)
{
    const auto set = [variable](const std::string &text) { setenv(variable, text.c_str(), 1); };
    return app->add_option_function<std::string>(option, set, help)->default_str(preset);
}

// As the library reads it: an empty variable counts as unset.
static const char *variable(const char *name, const char *preset)
{
    const char *text = getenv(name);
    return text == nullptr || *text == '\0' ? preset : text;
}

Options readOptions(int argc, char **argv)
{
    CLI::App app(DESCRIPTION);
    app.footer(NOTES);
    addVariable(&app, "--address", "SERVER_ADDR", DEFAULT_ADDRESS,
                "IPv4 address to listen on [SERVER_ADDR]")
        ->check(CLI::ValidIPV4);
    const auto setPort = [](int port) { setenv("SERVER_PORT", std::to_string(port).c_str(), 1); };
    app.add_option_function<int>("--port", setPort, "TCP port to listen on [SERVER_PORT]")
        ->default_str(DEFAULT_PORT)
        ->check(CLI::Range(MIN_PORT, MAX_PORT));
    addVariable(&app, "--web-root", "WEB_DIR", "sim/www/", "Folder of the web pages [WEB_DIR]");
    addVariable(&app, "--config-dir", "CONFIG_DIR", "/mnt/flash/cfgFiles/",
                "Folder of the configuration [CONFIG_DIR]");
    addVariable(&app, "--cpu-ms", "WEB_CPU_MS", "2000",
                "Milliseconds of processor time for a request [WEB_CPU_MS]")
        ->check(CLI::PositiveNumber);
    app.add_flag_callback(
        "--remote", [] { setenv("WEB_IS_REMOTE", "Y", 1); },
        "Treat clients as remote: under local control, refuse commands and set points; off by "
        "default [WEB_IS_REMOTE=Y]");

    setenv("WEB_STRICT", "Y", 0); // unless the variable says otherwise
    const auto setStrict = [](const std::string &text) {
        setenv("WEB_STRICT", text == CLOSED_DOORS ? "Y" : "N", 1);
    };
    app.add_option_function<std::string>(
           "--strict", setStrict,
           "Close the doors that units in the field leave open: on or off [WEB_STRICT=Y]")
        ->default_str(CLOSED_DOORS)
        ->check(CLI::IsMember({CLOSED_DOORS, OPEN_DOORS}));

    Options options{SIM_FOLDER "/points.json", "coreDb: 10.02.01", true, "", 0};
    std::string security = HOST_SECURITY;
    std::string state; // scripts/private_mnt reads it
    app.add_option("--points", options.points, "File of the unit's points")
        ->default_str("sim/points.json");
    app.add_option("--security", security,
                   "Accounts and rights: host (the unit's own) or off (none but admin)")
        ->capture_default_str()
        ->check(CLI::IsMember({HOST_SECURITY, OWN_SECURITY}));
    app.add_option("--coredb-version", options.coreDbVersion,
                   "Version that the database reports. Characters 9 and 10 are the major version; "
                   "below 10, forcing with quality is refused")
        ->capture_default_str();
    app.add_option("--state", state,
                   "Folder that keeps what the unit writes; scripts/private_mnt reads it")
        ->default_str("~/.local/state/webServer-sim");
    CLI::Option *verbose = app.add_flag_callback(
        "--verbose", [] { setLogLevel(LOG_LEVEL_DETAIL); },
        "Also log every read and function call");
    app.add_flag_callback(
           "--quiet", [] { setLogLevel(LOG_LEVEL_WARN); },
           "Log only warnings and errors; by default, changes are logged as well")
        ->excludes(verbose);
    char *version = nullptr;
    webServerShowVer(&version);
    app.set_version_flag("--version", version, "Print the library's version and exit");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) { // the parser also throws for --help and --version
        exit(app.exit(error) == 0 ? EXIT_SUCCESS : USAGE_ERROR);
    }
    options.hostSecurity = security == HOST_SECURITY;
    options.address = variable("SERVER_ADDR", DEFAULT_ADDRESS);
    options.port = atoi(variable("SERVER_PORT", DEFAULT_PORT));
    return options;
}
