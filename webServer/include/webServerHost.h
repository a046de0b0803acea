/** @file
 * webServerHost.h: what the host gives the library, by name.
 *
 * The host process defines every function below; the dynamic linker finds them when it loads the
 * library, so export them: include this header where they are defined (a host built with hidden
 * visibility would export nothing otherwise), and name the library on the link line, or link with
 * -rdynamic.
 *
 * The library calls all of them on its service thread, one at a time, and the log functions on the
 * host's own threads, too; the host protects its data against its threads. Programs and threads that
 * a host function starts inherit the service thread's blocked SIGPIPE.
 *
 * Text arguments are read-only, NUL-terminated, and valid only during the call. Those that come from
 * a client are unchecked unless said otherwise: they may be empty, long and hostile, and must never
 * serve as a printf format. An output text starts empty.
 *
 * Texts for clients are UTF-8, without control characters other than tab and line ends: XML cannot
 * carry those, and a strict client would refuse the whole reply.
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
/** printf-style, one line a call without a line feed; from the host's threads, too. */
void sLogInfo(const char *format, ...) __attribute__((format(printf, 1, 2)));
void sLogWarn(const char *format, ...) __attribute__((format(printf, 1, 2)));
void sLogErr(const char *format, ...) __attribute__((format(printf, 1, 2)));
/** @} */

/* ---- Points of the real-time database -------------------------------------------------------- *
 * type begins with "status", "analog", "command" or "setPoint" (more may follow: check the whole);
 * name, value and flags are the client's.                                                         */

/** Writes a point's text. format begins with "%d", "%u" or "%g", or is empty: the host's own. More may
 * follow ("%d%n%s"): choose your own conversion by it, never hand it to printf. Write at most 312
 * bytes with the terminator; what does not fit the reply is cut.
 * Returns 0 read, 1 no such point, 2 read error, 3 no such type; else an error code. */
int x_readData(const char *type, const char *name, const char *format, char *text);

/** @{ */
/** Force a point to a value, without and with quality flags. The status reaches the client unchanged;
 * 1 also means "refused: the unit is under local control, or cannot tell", which the library answers
 * by itself. */
int x_krunchData(const char *type, const char *name, const char *value);
int x_krunchDataQuality(const char *type, const char *name, const char *value, const char *flags);
/** @} */

/** Blocks (1) or unblocks (0) a point. The status reaches the client unchanged. */
int x_blockPoint(const char *type, const char *name, int onOff);

/** Points *text at the database's version, which stays the host's. Characters 9 and 10 are the major
 * version in decimal; forcing with quality needs 12 characters or more and version 10 or later. Null
 * counts as none. */
int coreDbShowVer(const char **text);

/* ---- Function containers --------------------------------------------------------------------- *
 * Call a function of an object in a container; a text that the client left out is null.           */

/** The status reaches the client unchanged. */
int fnPut(const char *container, const char *object, const char *function, const char *argument);

/** Writes at most size bytes to answer; of a client's call at most size - 1 are sent on. timeout is
 * the client's number. Returns 0: answered.
 *
 * The library itself asks container "coreDb", object "", function "getLR", argument "", size 1,
 * time-out 0 before it forces commands and set points. The one byte is the answer: 'L' local and 'U'
 * unknown refuse them where clients count as remote (g_webRemote); 'R' remote, any other byte and a
 * call that fails do not. */
int fnPutS(const char *container, const char *object, const char *function, const char *argument,
           char *answer, int size, int timeout);

/* ---- Clock, versions, reboot ----------------------------------------------------------------- */

struct timespec; /* of POSIX, which <time.h> leaves out for a strict C99 host */

/** Sets the clock: seconds since the epoch (tv_nsec is 0), two words of type long. option is always 0.
 * Returns -1: failed. */
int thmSetTime(const struct timespec *time, int option);

/** 0: the time module is not ready, and the clock cannot be read. */
int thmIsInit(void);

/** The number of the active time source, sent to the client. */
int thmGetActiveTimeSource(void);

/** Points *text at the baseline's version, which stays the host's and valid until the reply is sent.
 * With null the reply has no return element. */
int baselineShowVer(const char **text);

/** A client that the gate allows wants the unit rebooted. Note the wish and return: the status is
 * sent to the client afterwards. */
int usrReboot(void);

/* ---- Sessions -------------------------------------------------------------------------------- */

/** A counter of milliseconds, from any start, that wraps at 2^32. */
uint32_t sysCnt1mlsg(void);

/** The credential check when g_csEnabled is 0; see pgf_appUserVerify. sessionId is then null. */
int appUserVerify(const char *user, const char *password, char *sessionId);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop
#endif
