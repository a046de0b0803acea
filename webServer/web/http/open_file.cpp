// web/http/open_file.cpp: opens files whose names come from clients.
#include "web/http/open_file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

static const int WITHOUT_BLOCKING = O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
static const int EVERYBODY_READS_AND_WRITES = 0666; // less the process's mask, as fopen does

// What a driver or the kernel answers is no file: to open it may already act (a watchdog restarts the
// unit), and what never ends would take all memory.
static bool isNoFile(const char *path)
{
    struct stat status;
    struct statfs system;
    if (stat(path, &status) != 0 || statfs(path, &system) != 0)
        return false;
    return S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode) || system.f_type == PROC_SUPER_MAGIC
           || system.f_type == SYSFS_MAGIC;
}

File openFile(const char *path, FileUse use)
{
    if (isNoFile(path))
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
