/** @file
 * webServer.h: what the library gives the host, and what the host may set.
 *
 * A host process links libwebServer.so, provides the functions of webServerHost.h, fills the hooks
 * and settings below that it wants, and calls webServer_Web_Start() once.
 *
 * Threads: the host calls the functions from its own thread; one service thread serves every
 * request, one at a time, and calls the hooks and host functions. Nothing is locked: fill hooks and
 * settings before the start call and leave them alone afterwards, except where said otherwise.
 *
 * SIGPIPE is blocked on the service thread, so a client that leaves early ends only its own
 * request. Host threads that write to sockets of their own may install sigpipe_handle().
 *
 * An int is 32 bits wide. Texts end in NUL and are UTF-8.
 */
#ifndef WEB_SERVER_H
#define WEB_SERVER_H

#include <stdint.h>

/** Visible outside, also in what is built with -fvisibility=hidden. */
#define WS_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

struct soap; /* gSOAP's context of the request being served; see "The gate" below. */

/** Levels that the library asks the gate for. */
enum { WS_LEVEL_READ = 50, WS_LEVEL_WRITE = 200, WS_LEVEL_REBOOT = 250 };

/** The gate's answers. Every other answer means: known, but not allowed. */
enum { WS_NOT_AUTHENTICATED = 2, WS_ALLOWED = 3 };

/* ---- Start, stop, version -------------------------------------------------------------------- */

/** @{ */
/** Starts the service: reads the environment (see "Configuration"), starts the service thread, then
 * installs the default hooks if g_csEnabled is 0. Returns without waiting for the port to be bound.
 *
 * A failed bind (port in use or outside 1 to 65535, unusable address) REBOOTS THE UNIT: the service
 * thread logs it, calls sync() and reboot(RB_AUTOBOOT). A host for a PC defines both functions
 * itself and exports them: marked WS_EXPORT, and linked with -rdynamic if it loads the library by
 * dlopen. "nm -D HOST" must list both; what it does not list does not replace the system's.
 *
 * Call it once, and again only after a running service was closed and ws_soap_close() has returned 0.
 * A start while one serves fails to bind and so reboots the unit. A start after a close that returned
 * 1 gives two services one context, and the process will crash.
 *
 * Returns 0: started; -1: no thread could be created (logged); else the error number of
 * pthread_detach (logged; the service runs all the same). The two names do the same. */
WS_EXPORT int webServer_Web_Start(void);
WS_EXPORT int httpd(void);
/** @} */

/** Stops the service, from a host thread: lets the request being served finish, and waits for at
 * most ten seconds. Returns 0: stopped, or was not listening; 1: still serving (it stops when the
 * request ends; call again to wait on).
 *
 * Wait for g_wsRunningSocket to become 1 after a start before calling this. Called earlier, it either
 * does not stop the service, or leaves one that holds the port, neither serves nor stops, and needs a
 * second call. */
WS_EXPORT int ws_soap_close(void);

/** The version banner, "webServer:v03.03.03:Sep 27 2022 09:48:50\n". A null out prints it to standard
 * output; otherwise *out is pointed at a text that the library owns. Always returns 0. */
WS_EXPORT int webServerShowVer(char **out);

/** A signal handler that does nothing, for hosts to install for SIGPIPE. The library itself installs
 * no handler. */
WS_EXPORT void sigpipe_handle(int signal);

/** @{ */
/** Exported for hosts that always had them. http_main() is the whole start under a third name.
 * spawnHttpThread() is only the thread inside it: called before any start or while a service runs, it
 * ends in a failed bind, and so REBOOTS THE UNIT.
 * setThreadName() names the calling thread "webServer" and returns the result of prctl(). */
WS_EXPORT int http_main(void);
WS_EXPORT int spawnHttpThread(void);
WS_EXPORT int setThreadName(void);
/** @} */

/* ---- Configuration: written at start from the environment, read-only afterwards -------------- *
 * An unset or empty variable means the default. The texts are never freed. Folders end in "/" (a "\"
 * at the end is kept as it is). */

/** WEB_DIR, default "/mnt/bf/webFiles/": the web root. */
extern WS_EXPORT const char *g_webDir;

/** CONFIG_DIR, default "/mnt/flash/cfgFiles/": the configuration files. */
extern WS_EXPORT const char *g_configDir;

/** @{ */
/** SSL_DIR, default "/mnt/bf/ssl/", and ROOT_FILE, default "index.htm": for the host, not read here. */
extern WS_EXPORT const char *g_sslDir;
extern WS_EXPORT const char *g_rootFile;
/** @} */

/** SERVER_ADDR, default "127.0.0.1": the IPv4 address to listen on. */
extern WS_EXPORT const char *g_serverAddr;

/** SERVER_PORT, default 33080, by atoi(); 0 means the default. Not checked here: see the start. */
extern WS_EXPORT int g_serverPort;

/** WEB_IS_REMOTE: 1 if it is exactly "Y", else 0. With 1, a unit under local or unknown control refuses
 * commands and set points from the network. */
extern WS_EXPORT int g_webRemote;

/* ---- Settings: written by the host before the start ------------------------------------------ */

/** Security mode. Non-zero: the host's security module decides, through the hooks. 0: the library's
 * own: every SOAP call is allowed and user administration is refused without a fault. Initially 0. */
extern WS_EXPORT int g_csEnabled;

/** The level that getUserAuth reports in host security mode. Initially 200. A gate, which runs on the
 * service thread, may set it to the level of its caller, so that each is told his own. */
extern WS_EXPORT int g_highLevel;

/** Inactivity limit of a browser session in seconds, taken when the session is made: it may change at
 * any time, for later sessions. Initially 900. */
extern WS_EXPORT int sessTimeOut;

/** @{ */
/** Storage for the host's hooks: levels, RBAC objects and actions. Initially 0, not read here. */
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
 * Host threads read g_wsSocket and g_wsRunningSocket with __atomic_load_n(&name, __ATOMIC_ACQUIRE). */

/** The listening socket; -1 before the bind and, as the last sign of life, once stopped. */
extern WS_EXPORT int g_wsSocket;

/** 1 while serving; 0 before that and from the moment it is told to stop. */
extern WS_EXPORT int g_wsRunningSocket;

/** Address text of the login in progress, already emptied when a hook can look; null between requests.
 * Service thread only. */
extern WS_EXPORT char *gblIpAddress;

/** A browser's session. The slot is live while id is not null; the library owns the texts, and a login
 * or logout frees them. Read this table and the next one from hooks only, on the service thread. */
typedef struct {
    char *ip;  /**< client address, dotted and cut to 14 characters; null: unknown */
    int level; /**< access level granted at login */
    char *id;  /**< the value of its SESSIONID cookie */
    uint32_t
        lastActivity; /**< sysCnt1mlsg() at login, then at each file sent that requires a session */
    uint32_t timeoutMs; /**< inactivity limit: sessTimeOut in milliseconds, as it was at login */
    char *user;         /**< name, 300 bytes */
} SessionEntry;

enum { MAX_SESSIONS = 5 /**< slots of the table */ };
extern WS_EXPORT SessionEntry g_accesstok[MAX_SESSIONS]; /**< the sessions of browsers */
extern WS_EXPORT int numOfSessions;                      /**< live sessions */

/** A run of failed logins by address. The slot is free while ip is null; the library owns the text.
 * Logins use one entry, with the empty text, for the failures of all clients. */
typedef struct {
    char *ip;  /**< address text */
    int since; /**< time() of the first failure, or 0 if an earlier lock had expired; from the fifth
                       failure on, of the fifth */
    int failures; /**< in a row; from five on logins are told "nvm" */
} AccessRetryEntry;

enum { ACCESS_RETRY_SLOTS = 64 /**< of the table below */ };

/** The table of them. */
typedef struct {
    AccessRetryEntry
        slots[ACCESS_RETRY_SLOTS]; /**< only slots[0] to slots[count - 1] are searched */
    int count;                     /**< entries made and not removed */
} AccessRetryTable;
extern WS_EXPORT AccessRetryTable g_webAccess; /**< all runs of failed logins */

/* ---- The gate -------------------------------------------------------------------------------- */

/** May the caller of this request act at this level (WS_LEVEL_...)? Returns WS_NOT_AUTHENTICATED,
 * WS_ALLOWED or anything else for "known, but not allowed". getRbacPerm passes 1, 2 and 3 to the
 * client. The user-administration operations ask for the read level even where they change data:
 * the hooks below apply the host's own rule.
 *
 * With g_csEnabled 0 the start installs a gate that allows everything. With g_csEnabled non-zero
 * the host installs its own before the start; while there is none, callers are refused as not
 * authenticated.
 *
 * To look into the request, compile the gate as C++ with gSOAP's <stdsoap2.h> of the version and
 * with the macros that built the library (2.8.124; -DWITH_IPV6 -DWITH_COOKIES -DWITH_DOM, as
 * "pkg-config --cflags gsoapck++" prints them): the layout of struct soap depends on them.
 *
 *   struct SOAP_ENV__Header { char *Authentication; };
 *   request->header                   null, or the SOAP header that the client sent
 *   request->header->Authentication   null, or the text of its Authentication element
 *   request->cookies                  what the client sent: a list (next) of name and value; look
 *                                     for the name "SESSIONID" and leave domain and path alone
 *   request->ip                       client address as a number: 0x7F000001 is 127.0.0.1
 *   request->origin                   null, or the site of the page that sends the request:
 *                                     "http://host:port" as a browser tells it, or "null"
 *   request->endpoint                 "http://", the Host that the client sent, and the path; without
 *                                     a Host the path alone
 *
 * Browsers send their cookies for pages of other sites, too: a gate that trusts cookies must look at
 * request->origin, and refuse one that is not the unit's own.
 *
 * All of it belongs to the request and is gone when the request ends. A host that serves or calls
 * SOAP by itself keeps the names that gSOAP generates (namespaces, soap_getheader, ...) out of its
 * dynamic symbols: the runtime would otherwise find them in place of the library's. */
extern WS_EXPORT int (*pgf_parseAuth)(struct soap *request, int level);

/* ---- Hooks of the browser login: null at load ------------------------------------------------ */

/** Checks a user name and password. Returns the access level granted; negative: refused; below 50:
 * known, but not for web pages. In host security mode sessionId points at 80 zeroed bytes that
 * receive the new session's id as text; otherwise it is null. With g_csEnabled 0 the start installs
 * appUserVerify() of webServerHost.h here. */
extern WS_EXPORT int (*pgf_appUserVerify)(const char *user, const char *password, char *sessionId);

/** Is this session id still valid? Negative: no. Asked in host security mode only. */
extern WS_EXPORT int (*pgf_getSessionStatus)(const char *sessionId);

/** The session ends (logout, replaced, expired). Called in host security mode only. */
extern WS_EXPORT int (*pgf_closeSession)(const char *sessionId, struct soap *request);

/** For the host's own use: not called by the library, but nulled at start with the others. */
extern WS_EXPORT int (*pgf_getAuthorization)(const char *sessionId, int object, int action);

/* ---- Hooks of user administration: null at load ---------------------------------------------- *
 * Called in host security mode only (with g_csEnabled 0 the start nulls all of them but
 * pgf_ws_getLockedUsers); an operation whose hook is null answers as with g_csEnabled 0.
 * sessionId is the caller's SESSIONID cookie, or null; user names come from the client unchecked. */

/** @{ */
/** The list hooks point *names at an array of names, both from malloc(), and return how many entries
 * it has; a negative number counts as none. The library frees the array and every non-null entry
 * counted. The names reach the client each with a blank behind it, 2,047 bytes together: the rest is
 * cut. */
extern WS_EXPORT int (*pgf_ws_getUsersList)(const char *sessionId, char ***names);
extern WS_EXPORT int (*pgf_ws_getRolesList)(const char *sessionId, char ***names);
extern WS_EXPORT int (*pgf_ws_getRolesListByUser)(const char *sessionId, const char *user,
                                                  char ***names);
extern WS_EXPORT int (*pgf_ws_getLockedUsers)(const char *sessionId, char ***names);
/** @} */

/** @{ */
/** The set hooks return a status that the client receives unchanged. The text form of the roles and
 * the meaning of lock are the host's. */
extern WS_EXPORT int (*pgf_ws_setUserRoles)(const char *sessionId, const char *user,
                                            const char *roles);
extern WS_EXPORT int (*pgf_ws_setUserPassword)(const char *sessionId, const char *user,
                                               const char *password);
extern WS_EXPORT int (*pgf_ws_setUserLock)(const char *sessionId, const char *user, int lock);
/** @} */

/** Reserved: not called, the operation getUserLockState answers 0 by itself. */
extern WS_EXPORT int (*pgf_ws_getUserLockState)(const char *sessionId, const char *user);

/* ---- Utilities for hosts ----------------------------------------------------------------------- *
 * The library does not call them. getSessionId and those that take a request are for hooks, on the
 * service thread; the others may be called from any thread, once the service has been started. */

/** The id of the session in a slot, which stays the library's. Null when the slot is not below
 * numOfSessions, even if it is live. */
WS_EXPORT const char *getSessionId(int slot);

/** Is the request a GET (0), a POST (1) or something else (-1)? */
WS_EXPORT int getHTTPVerb(struct soap *request);

/** Sends the contents of all files of a folder whose name contains nameFilter, one after the other in
 * the folder's own order, as a complete "text/plain" response. Returns a gSOAP error code, 0: sent. */
WS_EXPORT int http_copy_folder(struct soap *request, const char *directory, const char *nameFilter);

/** The file of a web path: every "/cfgFiles" of a path that begins so becomes the configuration folder
 * (result 1), any other path is put behind the web root (result 0). The caller frees *out; null: no
 * memory. */
WS_EXPORT int traduceWebToFsPath(char **out, const char *webPath);

/** A copy of text with every search replaced, left to right. The caller frees it; null: no memory. An
 * empty search replaces nothing. */
WS_EXPORT char *replace_str(const char *text, const char *search, const char *replacement);

/** @{ */
/** 1 when the text has only letters, digits, "-", "." and "_" (and, in a path, "/"), else 0. They vet
 * characters, not where a path leads: ".." passes. */
WS_EXPORT int validatePathSyntax(const char *text);
WS_EXPORT int validateFilenameSyntax(const char *text);
/** @} */

/** Cuts the text behind its last "/" and returns the position of that "/"; null when it has none. */
WS_EXPORT char *getFolderPath(char *text);

#ifdef __cplusplus
}
#endif
#endif
