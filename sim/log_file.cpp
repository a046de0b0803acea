// sim/log_file.cpp: the file that keeps the unit's log, and one older file beside it.
#include "log_file.h"

#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

static const off_t MAX_FILE_BYTES = 0x40000; // 256 KiB
static const char *const OLDER_SUFFIX = ".1";

static std::mutex oneAtATime;
static char current[PATH_MAX]; // path; empty: no file
static char older[PATH_MAX + 2];

void setLogFile(const char *path)
{
    snprintf(current, sizeof current, "%s", path);
    snprintf(older, sizeof older, "%s%s", current, OLDER_SUFFIX);
}

// The descriptor or -1. A FIFO must not stall the unit.
static int openCurrent()
{
    return open(current, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0644);
}

static bool isFull(int file, std::size_t length)
{
    struct stat status;
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0
           && status.st_size + static_cast<off_t>(length) > MAX_FILE_BYTES;
}

// Opened anew for each line: a file that somebody has removed comes back, and none is held open.
void appendToLogFile(const char *line, std::size_t length)
{
    if (*current == '\0')
        return;
    const std::lock_guard<std::mutex> lock(oneAtATime);
    int file = openCurrent();
    if (file != -1 && isFull(file, length)) {
        close(file);
        file = rename(current, older) == 0 ? openCurrent() : -1;
    }
    if (file == -1)
        return;
    const ssize_t result = write(file, line, length);
    static_cast<void>(result);
    close(file);
}
