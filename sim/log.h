// sim/log.h: the unit's log on standard error and in its file, beside sLogInfo and the others of
// webServerHost.h.
#ifndef SIM_LOG_H
#define SIM_LOG_H

#include <string>

enum LogLevel { LOG_LEVEL_ERROR, LOG_LEVEL_WARN, LOG_LEVEL_INFO, LOG_LEVEL_DETAIL };

// What is more detailed than this stays unsaid. Call it before there are threads.
void setLogLevel(LogLevel level);

// A client's text for a line of the log: in quotes, with none of its own, and cut. It stands behind
// what the unit itself says.
std::string inQuotes(const std::string &text);

// What only --verbose shows.
void logDetail(const char *format, ...) __attribute__((format(printf, 1, 2)));

#endif
