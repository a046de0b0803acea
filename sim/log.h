// sim/log.h: the unit's log on standard error and in its file, beside sLogInfo and the others of
// webServerHost.h.
#ifndef SIM_LOG_H
#define SIM_LOG_H

enum LogLevel { LOG_LEVEL_ERROR, LOG_LEVEL_WARN, LOG_LEVEL_INFO, LOG_LEVEL_DETAIL };

// What is more detailed than this stays unsaid. Call it before there are threads.
void setLogLevel(LogLevel level);

// What only --verbose shows.
void logDetail(const char *format, ...) __attribute__((format(printf, 1, 2)));

#endif
