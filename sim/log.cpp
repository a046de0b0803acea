// sim/log.cpp: the unit's log: one line a message, in the machine's local time.
#include "log.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <unistd.h>

#include "clock.h"
#include "log_file.h"
#include "plain_text.h"
#include "webServerHost.h"

static const std::size_t LINE_BYTES = 1024; // what is longer is cut
static const std::size_t CLIENT_TEXT_BYTES = 64;
static const long NANOSECONDS_PER_MILLISECOND = 1000000;

static const char *const LEVEL_NAMES[] = {"ERROR", "WARN", "INFO", "DEBUG"}; // by LogLevel

static LogLevel mostDetailed = LOG_LEVEL_INFO;

void setLogLevel(LogLevel level)
{
    mostDetailed = level;
}

// What snprintf put into the room it had, from what it returned.
static std::size_t written(int length, std::size_t room)
{
    return length < 0 ? 0 : std::min(static_cast<std::size_t>(length), room - 1);
}

static std::size_t startLine(char *line, LogLevel level)
{
    struct timespec now;
    machineTime(&now);
    struct tm local;
    localtime_r(&now.tv_sec, &local);
    const std::size_t length = strftime(line, LINE_BYTES, "%Y-%m-%d %H:%M:%S", &local);
    const std::size_t room = LINE_BYTES - length;
    return length
           + written(snprintf(line + length, room, ".%03ld %-5s ",
                              now.tv_nsec / NANOSECONDS_PER_MILLISECOND, LEVEL_NAMES[level]),
                     room);
}

// Clients choose part of the text: it must not look like a line of its own, nor steer a terminal.
static void defuse(char *text)
{
    for (; *text != '\0'; ++text)
        memset(text, '?', unfitBytes(text));
}

std::string inQuotes(const std::string &text)
{
    std::size_t length = std::min(text.size(), CLIENT_TEXT_BYTES);
    while (length > 0 && (text[length] & 0xc0) == 0x80) // amid a character
        --length;
    std::string inside = text.substr(0, length);
    std::replace(inside.begin(), inside.end(), '"', '\'');
    return '"' + inside + (length == text.size() ? "\"" : "\"...");
}

__attribute__((format(printf, 2, 0))) static void logLine(LogLevel level, const char *format,
                                                          va_list arguments)
{
    if (level > mostDetailed)
        return;
    char line[LINE_BYTES];
    std::size_t length = startLine(line, level);
    char *text = line + length;
    const std::size_t room = LINE_BYTES - length;
    *text = '\0';
    length += written(vsnprintf(text, room, format, arguments), room);
    defuse(text);
    line[length] = '\n'; // in place of the terminator
    // One call a line, so that threads do not mix. A failure has nowhere left to be reported.
    const ssize_t result = write(STDERR_FILENO, line, length + 1);
    static_cast<void>(result);
    appendToLogFile(line, length + 1);
}

extern "C" {

void sLogInfo(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    logLine(LOG_LEVEL_INFO, format, arguments);
    va_end(arguments);
}

void sLogWarn(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    logLine(LOG_LEVEL_WARN, format, arguments);
    va_end(arguments);
}

void sLogErr(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    logLine(LOG_LEVEL_ERROR, format, arguments);
    va_end(arguments);
}

} // extern "C"

void logDetail(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    logLine(LOG_LEVEL_DETAIL, format, arguments);
    va_end(arguments);
}
