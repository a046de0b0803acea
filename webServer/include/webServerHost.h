/** @file
 * webServerHost.h: what the host gives the library, by name.
 *
 * The host process defines every function below. The dynamic linker looks for them when it loads
 * the library, so the host must export them: include this header where they are defined (a host
 * that is built with hidden visibility exports nothing else), and name the library on the link line
 * or link with -rdynamic.
 *
 * Threads: the library calls all of them on its service thread, one at a time; it calls the log
 * functions also on the host thread that starts or closes the service. The host protects its data
 * against its own threads. Programs and threads that a host function starts inherit the service
 * thread's blocked SIGPIPE.
 *
 * Text arguments are read-only, end in NUL and are valid only during the call. A text that comes
 * from a client is unchecked unless its comment says otherwise: it may be empty, long or hostile,
 * and must never be used as a printf format. A buffer for an output text is empty before the call.
 *
 * Texts for clients are UTF-8 without control characters other than tab and line ends: XML cannot
 * carry the others, and a strict client would refuse the whole reply.
 */
#ifndef WEB_SERVER_HOST_H
#define WEB_SERVER_HOST_H

#include <stdint.h>
#include <time.h>

#pragma GCC visibility push(default) /* also in a host built with -fvisibility=hidden */
#ifdef __cplusplus
extern "C" {
#endif

/* ---- Log ------------------------------------------------------------------------------------- */

/** @{ */
/** Log one line, given as for printf and without a line feed. */
void sLogInfo(const char *format, ...) __attribute__((format(printf, 1, 2)));
void sLogWarn(const char *format, ...) __attribute__((format(printf, 1, 2)));
void sLogErr(const char *format, ...) __attribute__((format(printf, 1, 2)));
/** @} */

/* ---- Points of the real-time database -------------------------------------------------------- *
 * type begins with "status", "analog", "command" or "setPoint"; more may follow, so compare the
 * whole text. name, value and flags come from the client unchecked. */

/** Reads a point and writes its text to text: at most 312 bytes with the terminator. format begins
 * with "%d", "%u" or "%g", or is empty, which means the host's own format. More may follow
 * ("%d%n%s"), so never pass it to printf: let it choose one of the host's own conversions. A text
 * that does not fit into the reply is cut.
 *
 * Returns 0 on success, 1 if there is no such point, 2 if it cannot be read, 3 if there is no such
 * type, and any other number for another error. */
int x_readData(const char *type, const char *name, const char *format, char *text);

/** @{ */
/** Force a point to a value, without and with quality flags. Return a status, which the client
 * receives unchanged. The library itself answers 1 without calling them when the unit is under
 * local control, or does not know whether it is; so 1 means that to a client. */
int x_krunchData(const char *type, const char *name, const char *value);
int x_krunchDataQuality(const char *type, const char *name, const char *value, const char *flags);
/** @} */

/** Blocks (onOff 1) or unblocks (onOff 0) a point. Returns a status, which the client receives
 * unchanged. */
int x_blockPoint(const char *type, const char *name, int onOff);

/** Points *text at the version of the real-time database, which the host owns. The ninth and tenth
 * characters are the major version in decimal. Forcing with quality needs a text of 12 characters
 * or more and version 10 or later; null counts as no version. The result is ignored. */
int coreDbShowVer(const char **text);

/* ---- Function containers --------------------------------------------------------------------- *
 * They call a function of an object in a container. A text that the client left out is null. */

/** Calls the function. Returns a status, which the client receives unchanged. */
int fnPut(const char *container, const char *object, const char *function, const char *argument);

/** Calls the function and writes its answer, at most size bytes; no terminator is needed if the
 * answer fills them. For a client's call size is 128, and the client receives at most 127 bytes.
 * timeout is the number that the client sent. Returns 0 on success; anything else is an error, and
 * the answer is not used.
 *
 * The library also calls it before it forces a point of type "command" or "setPoint": container
 * "coreDb", object "", function "getLR", argument "", size 1, timeout 0. The answer is one letter,
 * 'L' for local, 'R' for remote or 'U' for unknown. 'L' and 'U' make the library refuse the write
 * if clients count as remote (g_webRemote). Any other answer and an error let the write pass. */
int fnPutS(const char *container, const char *object, const char *function, const char *argument,
           char *answer, int size, int timeout);

/* ---- Clock, versions, reboot ----------------------------------------------------------------- */

struct timespec; /* of POSIX; <time.h> does not declare it for a strict C99 host */

/** Sets the clock to tv_sec seconds since the epoch; tv_nsec is 0. The two members have type long.
 * option is always 0. Returns -1 on failure. */
int thmSetTime(const struct timespec *time, int option);

/** Returns 0 if the time module is not ready; the client's request for the time then fails. */
int thmIsInit(void);

/** Returns the number of the active time source, which the client receives. */
int thmGetActiveTimeSource(void);

/** Points *text at the version of the baseline. The host owns the text and keeps it valid until the
 * reply has been sent. With null, the reply has no return element. The result is ignored. */
int baselineShowVer(const char **text);

/** A client wants the unit to reboot, and the gate allows it. Note the wish and return: the client
 * receives the returned status only after that. */
int usrReboot(void);

/* ---- Sessions -------------------------------------------------------------------------------- */

/** Returns a counter of milliseconds, which may start anywhere and wraps at 2^32. */
uint32_t sysCnt1mlsg(void);

/** Checks user and password if g_csEnabled is 0; see pgf_appUserVerify. sessionId is then null. */
int appUserVerify(const char *user, const char *password, char *sessionId);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop
#endif
