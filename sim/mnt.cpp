// sim/mnt.cpp: checks and fills the unit's /mnt.
#include "mnt.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "log.h"
#include "require.h"
#include "webServerHost.h"

namespace fs = std::filesystem;

static const char *const SAMPLES = SIM_FOLDER "/state";
static const char *const MARK = "/mnt/simulated_unit";
static const char *const LOG_FOLDER = "/mnt/flash/log";
static const char *const LOG_FILE = "/mnt/flash/log/unit.log";

// Returns true if /mnt is a mount that has the file simulated_unit. The file shows that a unit may
// write there. Without a mount, /mnt would be the machine's own folder. scripts/private_mnt provides
// both; a service manager can do the same.
static bool isUnitsOwn()
{
    struct statx mnt;
    return statx(AT_FDCWD, "/mnt", 0, 0, &mnt) == 0
           && (mnt.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0 && access(MARK, F_OK) == 0;
}

// Returns false if another unit has this /mnt: both would write the same users and the same log. The lock
// lasts as long as the descriptor, which nobody closes: until the program ends or restarts. A file system
// without locks counts as free.
static bool lockMnt()
{
    const int mark = open(MARK, O_RDONLY | O_CLOEXEC);
    return flock(mark, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

static void copySample(const fs::directory_entry &sample)
{
    const fs::path to = "/" / sample.path().lexically_relative(SAMPLES);
    if (fs::exists(fs::symlink_status(to)))
        return;
    if (sample.is_directory()) {
        fs::create_directory(to);
        return;
    }
    fs::copy(sample, to, fs::copy_options::copy_symlinks);
    if (!sample.is_symlink()) // the sample may be write-protected; the copy must not be
        fs::permissions(to, fs::perms::owner_write, fs::perm_options::add);
}

// A sample that cannot be copied is logged; the unit runs without it.
static void copySamples()
{
    try {
        for (const fs::directory_entry &sample : fs::recursive_directory_iterator(SAMPLES))
            copySample(sample);
    } catch (const fs::filesystem_error &error) {
        sLogWarn("unit: some samples are missing: %s", error.what());
    }
}

void claimMnt()
{
    require(isUnitsOwn(),
            "/mnt is not a unit's own: start with scripts/private_mnt, or mount a folder "
            "there that has a file simulated_unit");
    require(lockMnt(), "another unit runs in " + pathForPeople("/mnt/")
                           + ": stop it, or give this one another --state DIR");
}

void openMnt()
{
    fs::create_directories(LOG_FOLDER);
    setLogFile(LOG_FILE);
    sLogInfo("unit: /mnt is %s", pathForPeople("/mnt/").c_str());
    copySamples();
    const char *webRoot = getenv("WEB_DIR");
    if (webRoot == nullptr || *webRoot == '\0')
        setenv("WEB_DIR", SIM_WEB_ROOT "/", 1);
    else
        require(fs::is_directory(webRoot),
                "no folder for the web root: " + fs::absolute(webRoot).string());
}

std::string pathForPeople(const std::string &path)
{
    const char *state = getenv("SIM_STATE");
    return state == nullptr || path.compare(0, 5, "/mnt/") != 0 ? path : state + path;
}
