// sim/log.cpp: writes the log: one line for each message, with the machine's local time.
#include "log.h"

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "clock.h"
#include "plain_text.h"
#include "webServerHost.h"

static const std::size_t MESSAGE_BYTES = 1024; // longer messages are cut
static const long NANOSECONDS_PER_MILLISECOND = 1000000;
static const off_t MAX_FILE_BYTES = 0x40000; // 256 KiB

static const char *const LEVEL_NAMES[] = {"ERROR", "WARN", "INFO", "DEBUG"}; // by LogLevel

static LogLevel mostDetailed = LOG_LEVEL_INFO;
static const char *file = nullptr; // its path; null: none
static std::mutex fileMutex;

void setLogLevel(LogLevel level)
{
    mostDetailed = level;
}

void setLogFile(const char *path)
{
    file = path;
}

// Returns the descriptor, or -1. Does not wait for the reader of a FIFO.
static int openFile()
{
    return open(file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0644);
}

// Ignores a failure: if the log cannot be written, there is no other place to report it.
static void writeLine(int descriptor, const std::string &line)
{
    [[maybe_unused]] const ssize_t result = write(descriptor, line.data(), line.size());
}

// Opens the file for each line: if somebody removes it, the next line makes a new one.
static void appendToFile(const std::string &line)
{
    const std::lock_guard<std::mutex> lock(fileMutex);
    int descriptor = openFile();
    struct stat status;
    if (descriptor != -1 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)
        && status.st_size + static_cast<off_t>(line.size()) > MAX_FILE_BYTES) {
        close(descriptor);
        descriptor = rename(file, (std::string(file) + ".1").c_str()) == 0 ? openFile() : -1;
    }
    if (descriptor == -1)
        return;
    writeLine(descriptor, line);
    close(descriptor);
}

__attribute__((format(printf, 2, 0))) static void logMessage(LogLevel level, const char *format,
                                                             va_list arguments)
{
    if (level > mostDetailed)
        return;
    struct timespec now;
    machineTime(&now);
    struct tm local;
    localtime_r(&now.tv_sec, &local);
    char date[32];
    strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &local);
    char start[64];
    snprintf(start, sizeof start, "%s.%03ld %-5s ", date, now.tv_nsec / NANOSECONDS_PER_MILLISECOND,
             LEVEL_NAMES[level]);
    char message[MESSAGE_BYTES] = "";
    vsnprintf(message, sizeof message, format, arguments);

    // Clients choose part of the message. Plain text cannot look like another line or steer a terminal.
    const std::string line = start + plainText(message) + '\n';
    writeLine(STDERR_FILENO, line); // in one call, so that threads do not mix
    if (file != nullptr)
        appendToFile(line);
}

#define LOG_FUNCTION(name, level)                                                                  \
    void name(const char *format, ...)                                                             \
    {                                                                                              \
        va_list arguments;                                                                         \
        va_start(arguments, format);                                                               \
        logMessage(level, format, arguments);                                                      \
        va_end(arguments);                                                                         \
    }

LOG_FUNCTION(sLogErr, LOG_LEVEL_ERROR)
LOG_FUNCTION(sLogWarn, LOG_LEVEL_WARN)
LOG_FUNCTION(sLogInfo, LOG_LEVEL_INFO)
LOG_FUNCTION(logDetail, LOG_LEVEL_DETAIL)
