// http/open_file.cpp: opens files whose names come from clients.
#include "http/open_file.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

static constexpr int SAFELY = O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
static constexpr int EVERYONE_READS_AND_WRITES = 0666; // less the process's mask, as fopen does

// Returns true for files and folders outside /proc and /sys. Opening a device may already act (a
// watchdog then restarts the unit), a pipe belongs to another program, and some files of /proc and /sys
// never end.
static bool mayBeOpened(const char *path)
{
    struct stat status;
    if (stat(path, &status) != 0)
        return errno == ENOENT; // a file that does not exist may be created
    char place[PATH_MAX];
    return (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) && realpath(path, place) != nullptr
           && strncmp(place, "/proc/", 6) != 0 && strncmp(place, "/sys/", 5) != 0;
}

static int openAs(const char *path, int flags)
{
    return mayBeOpened(path) ? open(path, flags | SAFELY, EVERYONE_READS_AND_WRITES) : -1;
}

int openDescriptor(const char *path)
{
    return openAs(path, O_RDONLY);
}

File openFile(const char *path, FileUse use)
{
    static constexpr int FLAGS[] = {O_RDONLY, O_WRONLY, O_WRONLY | O_CREAT}; // by FileUse
    const int descriptor = openAs(path, FLAGS[use]);
    if (descriptor == -1)
        return nullptr;
    File file(fdopen(descriptor, use == FOR_READING ? "rb" : "w"));
    if (file == nullptr)
        close(descriptor);
    return file;
}
