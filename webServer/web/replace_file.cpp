// web/replace_file.cpp: gives a file new content without losing the old one to a full device or a power
// cut.
#include "web/replace_file.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "http/open_file.h"
#include "webServerHost.h"

static constexpr char SUFFIX[] = "&new";
static constexpr char ACCESS_LIST[] = "system.posix_acl_access"; // rights beyond the mode
static constexpr mode_t OWNER_ONLY = 0600;                       // until the file has its owner
static constexpr mode_t AS_ANY_NEW_FILE = 0666;                  // less the process's mask

// The file to replace, and the one beside it.
struct Names {
    char folder[PATH_MAX];
    const char *target;
    char beside[NAME_MAX + sizeof SUFFIX];
};

// The name beside is fixed, so that a power cut leaves at most one such file, which the next upload
// overwrites. Without a dot it matches no file rule and no log listing. An upload's name ends at its
// first "&", so no upload can mean this file.
static void splitPath(const char *path, Names *names)
{
    const char *slash = strrchr(path, '/');
    names->target = slash == nullptr ? path : slash + 1;
    const auto length = static_cast<int>(names->target - path);
    snprintf(names->folder, sizeof names->folder, "%.*s./", length, path);
    snprintf(names->beside, sizeof names->beside, "%s%s", names->target, SUFFIX);
    std::replace(names->beside, strchr(names->beside, '\0'), '.', '&');
}

// The result is compared, since some file systems accept any owner and mode and keep none, and folders
// may give their files an access list.
static bool takeOwnerAndMode(int file, const struct stat &old)
{
    struct stat now;
    return fchown(file, old.st_uid, old.st_gid) == 0 && fchmod(file, old.st_mode & 07777) == 0
           && fstat(file, &now) == 0 && now.st_uid == old.st_uid && now.st_gid == old.st_gid
           && now.st_mode == old.st_mode && fgetxattr(file, ACCESS_LIST, nullptr, 0) <= 0;
}

static bool lacksRoom(int error)
{
    return error == ENOSPC || error == EDQUOT;
}

static WriteOutcome fillAndRename(int folder, int file, const Names &names, const struct stat *old,
                                  const Content &content)
{
    if (old != nullptr && !takeOwnerAndMode(file, *old))
        return {TRY_IN_PLACE, 0};
    if (!writeBytes(file, content.bytes, 0, content.size))
        return {old != nullptr && lacksRoom(errno) ? TRY_IN_PLACE : NOT_WRITTEN, errno};
    if (renameat(folder, names.beside, folder, names.target) != 0)
        return {TRY_IN_PLACE, errno};
    return {WRITTEN, syncFile(folder) ? 0 : errno}; // until then a power cut undoes the rename
}

static WriteOutcome writeBeside(const char *path, const struct stat *old, const Content &content)
{
    WriteOutcome outcome = {TRY_IN_PLACE, 0};
    Names names;
    splitPath(path, &names);
    const int folder = open(names.folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder == -1)
        return outcome;
    unlinkat(folder, names.beside, 0);
    const int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const mode_t mode = old == nullptr ? AS_ANY_NEW_FILE : OWNER_ONLY;
    const int file = openat(folder, names.beside, flags, mode);
    if (file != -1) {
        outcome = fillAndRename(folder, file, names, old, content);
        close(file);
        if (outcome.result != WRITTEN)
            unlinkat(folder, names.beside, 0);
    }
    close(folder);
    return outcome;
}

static void log(const char *path, const WriteOutcome &outcome)
{
    static const char *const RESULTS[] = {"written", "written in place", "not written", "lost"};
    char shown[PATH_MAX]; // without control characters: the name comes from a client
    snprintf(shown, sizeof shown, "%s", path);
    const auto isControl = [](unsigned char c) { return c < ' ' || c == 0x7f; };
    std::replace_if(shown, strchr(shown, '\0'), isControl, '?');
    const char *result = RESULTS[outcome.result];
    sLogErr("webServer: upload of %s: %s; %s", shown, strerror(outcome.error), result);
}

void replaceFile(const char *path, const Content &content)
{
    struct stat old;
    const bool exists = lstat(path, &old) == 0;
    if (!exists && errno != ENOENT)
        return;
    const bool plain = exists && S_ISREG(old.st_mode) && old.st_nlink == 1
                       && lgetxattr(path, ACCESS_LIST, nullptr, 0) <= 0;
    if (plain && openFile(path, FOR_WRITING) == nullptr)
        return;
    WriteOutcome outcome = {TRY_IN_PLACE, 0};
    if (plain || !exists)
        outcome = writeBeside(path, plain ? &old : nullptr, content);
    if (outcome.result == TRY_IN_PLACE)
        outcome = writeInPlace(path, content, outcome.error);
    if (outcome.error != 0)
        log(path, outcome);
}
