// web/http/open_file.cpp: opens files whose names come from clients.
#include "web/http/open_file.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

static const int WITHOUT_BLOCKING = O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
static const int EVERYBODY_READS_AND_WRITES = 0666; // less the process's mask, as fopen does

// A driver or the kernel answers there: to open it may already act (a watchdog restarts the unit), and
// what never ends would take all memory.
static bool answersByItself(const char *path)
{
    struct stat status;
    char place[PATH_MAX];
    if (stat(path, &status) != 0 || realpath(path, place) == nullptr)
        return false; // nothing is there: opening it fails, or makes an ordinary file
    return S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode) || strncmp(place, "/proc/", 6) == 0
           || strncmp(place, "/sys/", 5) == 0;
}

File openFile(const char *path, FileUse use)
{
    if (answersByItself(path))
        return nullptr;
    const int flags = use == FOR_READING ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC;
    const int descriptor = open(path, flags | WITHOUT_BLOCKING, EVERYBODY_READS_AND_WRITES);
    if (descriptor == -1)
        return nullptr;
    File file(fdopen(descriptor, use == FOR_READING ? "rb" : "w"));
    if (file == nullptr)
        close(descriptor);
    return file;
}
