// sim/private_mnt.cpp: a mount namespace of the process's own, with a folder of the unit as /mnt.
#include "private_mnt.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

#include "webServerHost.h"

namespace fs = std::filesystem;

static const char *const MARK = "SIM_MNT"; // in the environment: who decided, and what
static const char *const PRIVATE_WORD = "private";
static const char *const MACHINES_WORD = "machine";

// With the process id, which exec keeps: a unit that is only a child inherits the mark, too, and
// must not believe it.
static std::string markText(const char *word)
{
    return std::to_string(getpid()) + ":" + word;
}

Mnt inheritedMnt()
{
    const char *mark = getenv(MARK);
    if (mark == nullptr)
        return UNDECIDED_MNT;
    if (markText(PRIVATE_WORD) == mark)
        return PRIVATE_MNT;
    return markText(MACHINES_WORD) == mark ? MACHINES_MNT : UNDECIDED_MNT;
}

// 0 or -1 with errno; the kernel takes these files in one piece.
static int writeFile(const char *path, const std::string &text)
{
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file == -1)
        return -1;
    const ssize_t written = write(file, text.data(), text.size());
    const int error = errno;
    close(file);
    errno = error;
    return written == static_cast<ssize_t>(text.size()) ? 0 : -1;
}

// In a new user namespace everybody is nobody until it is said who is who.
static int keepIdentity(uid_t user, gid_t group)
{
    const auto itself = [](unsigned id) {
        return std::to_string(id) + " " + std::to_string(id) + " 1";
    };
    return writeFile("/proc/self/setgroups", "deny") == 0
                   && writeFile("/proc/self/uid_map", itself(user)) == 0
                   && writeFile("/proc/self/gid_map", itself(group)) == 0
               ? 0
               : -1;
}

// With its namespaces an ordinary user gets all capabilities in them, until a restart takes them
// away: the unit keeps none.
static int dropCapabilities()
{
    struct __user_cap_header_struct self = {_LINUX_CAPABILITY_VERSION_3, 0};
    const struct __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
    return static_cast<int>(syscall(SYS_capset, &self, none));
}

// Null, or the step that failed, with errno.
static const char *isolate(const char *folder)
{
    if (access("/mnt", F_OK) != 0)
        return "find /mnt";
    const uid_t user = geteuid();
    const gid_t group = getegid();
    const bool root = user == 0;
    if (unshare(root ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return root ? "unshare the mount namespace" : "unshare the user and mount namespaces";
    if (!root && keepIdentity(user, group) != 0)
        return "keep the user's identity";
    // First of all, or the machine would get to see the next one.
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return "make the mounts private";
    if (mount(folder, "/mnt", nullptr, MS_BIND | MS_REC, nullptr) != 0)
        return "mount the state folder on /mnt";
    if (!root && dropCapabilities() != 0)
        return "give up capabilities";
    return nullptr;
}

// A program below /mnt would lose sight of its own pages and, when it restarts, of its library.
static bool liesInMnt(const char *path)
{
    std::error_code error;
    const std::string mnt = fs::canonical("/mnt", error).string() + "/";
    return !error && fs::canonical(path, error).string().compare(0, mnt.size(), mnt) == 0;
}

static bool tryToOpen(const char *folder)
{
    for (const char *path : {"/proc/self/exe", SIM_FOLDER})
        if (liesInMnt(path)) {
            sLogWarn("unit: runs without its fixed folders: the program itself lies in /mnt");
            return false;
        }
    const char *failedStep = isolate(folder);
    if (failedStep != nullptr)
        sLogWarn("unit: runs without its fixed folders: cannot %s: %s", failedStep,
                 strerror(errno));
    return failedStep == nullptr;
}

Mnt openPrivateMnt(const std::string &folder)
{
    const bool opened = tryToOpen(folder.c_str());
    setenv(MARK, markText(opened ? PRIVATE_WORD : MACHINES_WORD).c_str(), 1);
    return opened ? PRIVATE_MNT : MACHINES_MNT;
}
