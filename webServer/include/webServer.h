/** @file
 * webServer.h: what the library gives the host, and what the host may set.
 *
 * A host process links with libwebServer.so, defines the functions of webServerHost.h, sets the
 * hooks and settings below that it needs, and calls webServer_Web_Start() once.
 *
 * Threads: the host calls the library from its own thread. The library has one service thread,
 * which serves one request at a time and calls the gate, the hooks and the host functions. Nothing
 * is locked. Set hooks and settings before the start and leave them alone afterwards, except where
 * a comment below says otherwise.
 *
 * Many clients may be connected at once. Their requests wait until they are complete, and one that is
 * slow holds up nobody.
 *
 * SIGPIPE is blocked on the service thread, so a client that hangs up early ends only its own
 * request. Host threads that write to sockets may install sigpipe_handle() for SIGPIPE.
 *
 * An int has 32 bits. Texts are UTF-8 and end in NUL.
 */
#ifndef WEB_SERVER_H
#define WEB_SERVER_H

#include <stdint.h>

/** Exports a name, also from code that is compiled with -fvisibility=hidden. */
#define WS_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

struct soap; /* gSOAP's context of the request that is being served; see "The gate" below */

/** The levels that the library asks the gate for. */
enum {
    /** Read points, clock, versions and protected files; user administration. */
    WS_LEVEL_READ = 50,
    /** Force and block points, set the clock, call functions of containers, upload files. */
    WS_LEVEL_WRITE = 200,
    /** Reboot the unit. */
    WS_LEVEL_REBOOT = 250
};

/** The gate's answers. Every other answer means: the caller is known, but may not act at this
 * level. */
enum {
    /** The caller has not proved who it is. */
    WS_NOT_AUTHENTICATED = 2,
    /** The caller may act at this level. */
    WS_ALLOWED = 3
};

/* ---- Start, stop, version -------------------------------------------------------------------- */

/** @{ */
/** Starts the service. Reads the environment (see "Configuration"), starts the service thread, and
 * then, if g_csEnabled is 0, installs the default hooks. Returns without waiting for the service
 * thread to bind the port. The two names do the same.
 *
 * A failed bind (port in use or outside 1 to 65535, unusable address) REBOOTS THE UNIT: the service
 * thread logs the reason and calls sync() and reboot(RB_AUTOBOOT). A host for a PC must therefore
 * define both functions itself and export them: mark them WS_EXPORT, and link with -rdynamic if the
 * host loads the library with dlopen. "nm -D HOST" must list both; a function that it does not list
 * does not replace the system's.
 *
 * Call it once. Call it again only after ws_soap_close() has returned 0 for a running service. A
 * start while a service runs fails to bind and so reboots the unit. A start after a close that
 * returned 1 gives two services the same memory, and the process will crash.
 *
 * Returns 0 on success; -1 if there was no memory for a text of the configuration or no thread could
 * be created, and then nothing runs; otherwise the error number of pthread_detach, and the service
 * runs all the same. These errors are logged. */
WS_EXPORT int webServer_Web_Start(void);
WS_EXPORT int httpd(void);
/** @} */

/** Stops the service. Call it from a host thread, never from a hook. Nothing more is accepted,
 * and clients that have sent nothing lose their connections at once. Requests that are being served
 * or have begun to arrive are answered; replies then have 2 seconds more to leave. The call waits up
 * to ten seconds for that. Returns 0 if the service has stopped or was not listening. Returns 1 if it
 * is still serving or waiting for the rest of a request; it stops when those requests end, and another
 * call waits for it again.
 *
 * After a start, wait until g_wsRunningSocket is 1 before you call this. A call before that may
 * have no effect. It may also leave a service that holds the port but neither serves nor stops
 * until a second call. */
WS_EXPORT int ws_soap_close(void);

/** Provides the version text, for example "webServer:v03.03.03:Sep 27 2022 09:48:50\n": name,
 * version, date and time of the build. If out is null, prints the text to standard output;
 * otherwise points *out at it. The library owns the text. Always returns 0. */
WS_EXPORT int webServerShowVer(char **out);

/** A signal handler that does nothing. Hosts may install it for SIGPIPE. The library itself
 * installs no signal handler. */
WS_EXPORT void sigpipe_handle(int signal);

/** @{ */
/** Exported because existing hosts use these names. http_main() is a third name for the start.
 *
 * spawnHttpThread() is only the part of the start that creates the thread, with the same result.
 * Called before any start, or while a service runs, it ends in a failed bind and so REBOOTS THE
 * UNIT.
 *
 * setThreadName() names the calling thread "webServer" and returns the result of prctl(). */
WS_EXPORT int http_main(void);
WS_EXPORT int spawnHttpThread(void);
WS_EXPORT int setThreadName(void);
/** @} */

/* ---- Configuration: written at start from the environment, read-only afterwards -------------- *
 * A variable that is unset or empty gets its default. The texts are never freed. The start appends
 * "/" to a folder that does not end in "/" or "\". */

/** The web root: WEB_DIR, by default "/mnt/bf/webFiles/". The start logs a warning when it is missing. */
extern WS_EXPORT const char *g_webDir;

/** The folder of the configuration files: CONFIG_DIR, by default "/mnt/flash/cfgFiles/". An upload
 * replaces one by renaming another file over it; what could not be stored is logged by sLogErr(). */
extern WS_EXPORT const char *g_configDir;

/** @{ */
/** SSL_DIR, by default "/mnt/bf/ssl/", and ROOT_FILE, by default "index.htm". The library fills
 * them for the host and does not use them. */
extern WS_EXPORT const char *g_sslDir;
extern WS_EXPORT const char *g_rootFile;
/** @} */

/** The IPv4 address to listen on: SERVER_ADDR, by default "127.0.0.1". */
extern WS_EXPORT const char *g_serverAddr;

/** The TCP port to listen on: SERVER_PORT as atoi() reads it, by default 33080; 0 means the
 * default. The range is checked at the bind; see webServer_Web_Start(). */
extern WS_EXPORT int g_serverPort;

/** 1 if WEB_IS_REMOTE is exactly "Y", else 0. With 1, clients count as remote: while the unit is
 * under local control, or does not know, commands and set points from the network are refused. */
extern WS_EXPORT int g_webRemote;

/** 1 if WEB_STRICT is exactly "Y", else 0. With 1 the library closes doors that units in the field leave
 * open: a GET with ".." or, except of a page, with a query is refused, and so is an upload unless its name
 * is plain, a form that a page of another site sends, a request of more than 1 MiB, and one that leaves open
 * where it ends. A SOAP reply of more than 1.125 MiB becomes a fault, although the operation has been
 * executed; with 0 that begins at 18 MiB. Failed logins delay the next one of their address. The session's
 * cookie says SameSite=Strict, and the ids that the library makes come from the system's random source.
 * docs/security.md says which risks remain. */
extern WS_EXPORT int g_webStrict;

/** How many milliseconds of the service thread's processor time gSOAP may spend on reading a request and on
 * writing its SOAP reply before the connection ends: WEB_CPU_MS as atoi() reads it, by default 2000, also if
 * it is not above 0. */
extern WS_EXPORT int g_webCpuMs;

/* ---- Settings: written by the host before the start ------------------------------------------ */

/** The security mode. Non-zero: the host's security module decides, through the hooks below. 0: the
 * library's own security, which allows every SOAP call and every upload to everybody and refuses
 * user administration without a fault. Initially 0. */
extern WS_EXPORT int g_csEnabled;

/** The level that the operation getUserAuth reports if g_csEnabled is not 0. Initially 200. The
 * gate may change it at any time, because it runs on the service thread: if it sets the level of
 * its caller, every caller gets its own. */
extern WS_EXPORT int g_highLevel;

/** After how many seconds without activity a browser session counts as idle. A session takes the
 * value when it is made, so a change, which any thread may make at any time, applies to later
 * sessions. Initially 900. */
extern WS_EXPORT int sessTimeOut;

/** @{ */
/** Storage for the host's hooks: levels, RBAC objects and actions. Initially 0. The library does
 * not use them. */
extern WS_EXPORT int g_lowLevel;
extern WS_EXPORT int g_wsWritePriv;
extern WS_EXPORT int g_wsObject;
extern WS_EXPORT int g_wsLogObj;
extern WS_EXPORT int g_wsSecLogObj;
extern WS_EXPORT int g_wsSecRbacObj;
extern WS_EXPORT int g_wsSecRbacRAct;
extern WS_EXPORT int g_wsSecRbacWAct;
/** @} */

/* ---- State: written by the library, for the host to read ------------------------------------- *
 * Host threads read the first two with __atomic_load_n(&name, __ATOMIC_ACQUIRE). */

/** The listening socket. -1 before the bind, and -1 again as the last thing that a stopping service
 * does. */
extern WS_EXPORT int g_wsSocket;

/** 1 while the service runs. 0 before that, and 0 again as soon as ws_soap_close() is called. */
extern WS_EXPORT int g_wsRunningSocket;

/** The client's address text during a login, null between requests. When a hook can read it, it is
 * already an empty text. Belongs to the request. Service thread only. */
extern WS_EXPORT char *gblIpAddress;

/** A browser's session. The slot is in use while id is not null. The library owns the texts; a
 * login or logout frees them. Read this table and g_webAccess only from hooks, on the service
 * thread. */
typedef struct {
    /** The client's IPv4 address in dotted form, cut to 14 characters; null if unknown. */
    char *ip;
    /** The access level that was granted at the login. */
    int level;
    /** The value of the session's SESSIONID cookie. */
    char *id;
    /** sysCnt1mlsg() at the login, and later at each request for a file that needs a session. */
    uint32_t lastActivity;
    /** After how many milliseconds without activity the session counts as idle: sessTimeOut as it
     * was at the login. */
    uint32_t timeoutMs;
    /** The user's name; the memory has 300 bytes. */
    char *user;
} SessionEntry;

enum {
    /** Slots of g_accesstok. */
    MAX_SESSIONS = 5
};
/** The browser sessions. */
extern WS_EXPORT SessionEntry g_accesstok[MAX_SESSIONS];
/** How many slots of g_accesstok are in use. */
extern WS_EXPORT int numOfSessions;

/** A run of failed logins from one address. The slot is free while ip is null; the library owns the
 * text. The login uses a single entry, with the empty text as its address, for the failures of all
 * clients. */
typedef struct {
    /** The address text. */
    char *ip;
    /** time() of the first failure of the run, or 0 if the run follows an expired lock; from the
     * fifth failure on, time() of the fifth. */
    int since;
    /** Failures in a row. From five on, refused logins get the code "nvm". */
    int failures;
} AccessRetryEntry;

enum {
    /** Slots of g_webAccess. */
    ACCESS_RETRY_SLOTS = 64
};

/** All runs of failed logins. */
typedef struct {
    /** The runs. The library looks only at slots[0] to slots[count - 1]. */
    AccessRetryEntry slots[ACCESS_RETRY_SLOTS];
    /** Entries made and not removed, at most 63. */
    int count;
} AccessRetryTable;
/** The runs of failed logins. */
extern WS_EXPORT AccessRetryTable g_webAccess;

/* ---- The gate -------------------------------------------------------------------------------- */

/** Decides whether the caller of this request may act at this level (one of WS_LEVEL_...). Returns
 * WS_ALLOWED, WS_NOT_AUTHENTICATED, or any other number for "known, but not allowed". The operation
 * getRbacPerm passes 1, 2 and 3 on to the client. The user-administration operations ask for
 * WS_LEVEL_READ even where they change data: there the hooks below must apply the host's own rule.
 *
 * If g_csEnabled is 0, the start installs a gate that allows everything. Otherwise the host
 * installs its own before the start; without one, every caller is refused as not authenticated.
 *
 * A gate that looks into the request may be C or C++: struct soap has the same layout in both. It must
 * be compiled with gSOAP's stdsoap2.h of the version and with the macros that built the library,
 * because the layout depends on them: 2.8.124, and -DWITH_IPV6 -DWITH_COOKIES -DWITH_DOM, as
 * "pkg-config --cflags gsoapck++" prints them. It may read:
 *
 *   struct SOAP_ENV__Header { char *Authentication; };
 *   request->header                   the SOAP header that the client sent, or null
 *   request->header->Authentication   the text of its Authentication element, or null
 *   request->cookies                  the cookies that the client sent, a list (next) of name and
 *                                     value, which is null when it is empty. Look for the name
 *                                     "SESSIONID": of several, the list has the first that names a
 *                                     session
 *   request->ip                       the client's address as a number: 127.0.0.1 is 0x7F000001
 *   request->origin                   the site of the page that sends the request, as the browser
 *                                     names it: "http://host:port" or "null"; null if not sent
 *   request->endpoint                 "http://", the Host header that the client sent, and the
 *                                     path; only the path if there was no Host
 *
 * Browsers send their cookies also with requests from pages of other sites. A gate that accepts
 * cookies must therefore look at request->origin and refuse a site that is not the unit's own.
 *
 * All of this belongs to the request and is gone when the request ends. A host that uses gSOAP
 * itself must keep the names that gSOAP generates (namespaces, soap_getheader, ...) out of its
 * dynamic symbols: gSOAP would otherwise find them in place of the library's. */
extern WS_EXPORT int (*pgf_parseAuth)(struct soap *request, int level);

/* ---- Hooks of the browser login: null at load ------------------------------------------------ *
 * Called on the service thread. The texts that they get end with the call. */

/** Checks a user name and a password, both unchecked text from the client. Returns the access level
 * that is granted: negative if the login is refused; below 50 if the user is known, but may not use
 * web pages. While the hook is null, every login is refused.
 *
 * If g_csEnabled is not 0, sessionId points at 80 zeroed bytes, and the hook writes the new
 * session's id there as text; a login without an id is refused. If g_csEnabled is 0, sessionId is
 * null, and the start installs appUserVerify() of webServerHost.h as this hook. */
extern WS_EXPORT int (*pgf_appUserVerify)(const char *user, const char *password, char *sessionId);

/** Says whether a session id is still valid. Returns a negative number if it is not. Called only if
 * g_csEnabled is not 0; while the hook is then null, no session is valid. */
extern WS_EXPORT int (*pgf_getSessionStatus)(const char *sessionId);

/** Is called when a session ends: by a logout, by a new login of its user, or because it was idle
 * and the table was full. The library ignores the result. Called only if g_csEnabled is not 0. */
extern WS_EXPORT int (*pgf_closeSession)(const char *sessionId, struct soap *request);

/** For the host's own use. The library does not call it, but sets it to null at the start, as it
 * does with the two hooks above, if g_csEnabled is 0. */
extern WS_EXPORT int (*pgf_getAuthorization)(const char *sessionId, int object, int action);

/* ---- Hooks of user administration: null at load ---------------------------------------------- *
 * Called on the service thread, and only if g_csEnabled is not 0. If it is 0, the start sets all of
 * them to null except pgf_ws_getLockedUsers. An operation whose hook is null answers as it does
 * with g_csEnabled 0. sessionId is the caller's SESSIONID cookie, or null. User names, roles and
 * passwords come from the client unchecked. The texts end with the call. */

/** @{ */
/** The list hooks point *names at an array of names and return the number of its entries; a
 * negative number counts as 0. The array and its entries must come from malloc(). The library frees
 * the array and the entries counted; an entry may be null. The client receives the names, each
 * followed by a space, cut at 2,047 bytes together. */
extern WS_EXPORT int (*pgf_ws_getUsersList)(const char *sessionId, char ***names);
extern WS_EXPORT int (*pgf_ws_getRolesList)(const char *sessionId, char ***names);
extern WS_EXPORT int (*pgf_ws_getRolesListByUser)(const char *sessionId, const char *user,
                                                  char ***names);
extern WS_EXPORT int (*pgf_ws_getLockedUsers)(const char *sessionId, char ***names);
/** @} */

/** @{ */
/** The set hooks return a status, which the client receives unchanged. The host defines how roles
 * are written and what the values of lock mean. */
extern WS_EXPORT int (*pgf_ws_setUserRoles)(const char *sessionId, const char *user,
                                            const char *roles);
extern WS_EXPORT int (*pgf_ws_setUserPassword)(const char *sessionId, const char *user,
                                               const char *password);
extern WS_EXPORT int (*pgf_ws_setUserLock)(const char *sessionId, const char *user, int lock);
/** @} */

/** Reserved. The library does not call it: the operation getUserLockState always answers 0. */
extern WS_EXPORT int (*pgf_ws_getUserLockState)(const char *sessionId, const char *user);

/* ---- Utilities for hosts --------------------------------------------------------------------- *
 * The library does not use them itself. Call getSessionId and the functions that take a request
 * only from hooks, on the service thread. Any thread may call the others once the service has been
 * started. */

/** Returns the id of the session in a slot; the library owns the text. Returns null if the slot is
 * negative or not below numOfSessions, even if the slot is in use. */
WS_EXPORT const char *getSessionId(int slot);

/** Returns 0 if the request is a GET, 1 if it is a POST, and -1 otherwise. */
WS_EXPORT int getHTTPVerb(struct soap *request);

/** Sends the contents of all files of a folder whose name contains nameFilter as one complete
 * "text/plain" response. The files follow one another as the folder lists them; the first one that
 * cannot be opened ends the list. Returns 0 if the response was sent, else a gSOAP error code. */
WS_EXPORT int http_copy_folder(struct soap *request, const char *directory, const char *nameFilter);

/** Translates a web path to the path of a file. If webPath begins with "/cfgFiles", every
 * "/cfgFiles" in it is replaced by the configuration folder, and the result is 1; otherwise the
 * path is appended to the web root, and the result is 0. Sets *out to the new text, which the
 * caller frees, or to null if there is no memory. */
WS_EXPORT int traduceWebToFsPath(char **out, const char *webPath);

/** Returns a copy of text in which every occurrence of search, from left to right, is replaced. An
 * empty search replaces nothing. The caller frees the copy. Returns null if there is no memory. */
WS_EXPORT char *replace_str(const char *text, const char *search, const char *replacement);

/** @{ */
/** Return 1 if the text consists of letters, digits, "-", "." and "_" (and "/" in a path), else 0.
 * They check characters, not where a path leads: ".." passes, and so does an empty text. */
WS_EXPORT int validatePathSyntax(const char *text);
WS_EXPORT int validateFilenameSyntax(const char *text);
/** @} */

/** Cuts the text after its last "/". Returns the position of that "/", or null if there is none;
 * the text is then unchanged. */
WS_EXPORT char *getFolderPath(char *text);

#ifdef __cplusplus
}
#endif
#endif
