// sim/log_file.h: the file that keeps the unit's log.
#ifndef SIM_LOG_FILE_H
#define SIM_LOG_FILE_H

#include <cstddef>

// Where lines go from now on; until then nowhere. Call it before there are threads.
void setLogFile(const char *path);

// Adds a line, with its line feed. A failure loses the line and is not reported.
void appendToLogFile(const char *line, std::size_t length);

#endif
