// sim/log.h: the unit's log, on standard error and in a file. webServerHost.h declares sLogInfo,
// sLogWarn and sLogErr.
#ifndef SIM_LOG_H
#define SIM_LOG_H

enum LogLevel { LOG_LEVEL_ERROR, LOG_LEVEL_WARN, LOG_LEVEL_INFO, LOG_LEVEL_DETAIL };

// Call both before there are threads. Messages more detailed than the level are dropped. The path must
// outlive the program's threads; until it is set, there is no file.
void setLogLevel(LogLevel level);
void setLogFile(const char *path);

// Logs what only --verbose shows.
void logDetail(const char *format, ...) __attribute__((format(printf, 1, 2)));

#endif
