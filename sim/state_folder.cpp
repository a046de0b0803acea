// sim/state_folder.cpp: the folder that keeps what the unit writes: its tree, its first contents.
#include "state_folder.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <unistd.h>

#include "log_file.h"
#include "private_mnt.h"
#include "webServerHost.h"

namespace fs = std::filesystem;

static const char *const DEFAULT_WEB_ROOT = SIM_WEB_ROOT "/";
static const char *const SAMPLES = SIM_FOLDER "/state";

// In the state folder as in the file system of a unit.
static const char *const CONFIG_FOLDER = "/mnt/flash/cfgFiles/";
static const char *const LOG_FILE = "/mnt/flash/log/unit.log";
static const char *const FOLDERS[] = {
    "/mnt/flash/cfgFiles",
    "/mnt/flash/log",
    "/mnt/nvRam",
    "/mnt/privatedata/modules/0-HU",
};

// The library cuts the path of an uploaded file to 127 bytes: with a folder longer than this, the
// cut path of a file with a long name could lead out of the state folder.
static const std::size_t MAX_CONFIG_PATH = 127;

static std::string folderOfMnt; // empty: the unit has no /mnt of its own

static bool isSet(const char *variable)
{
    const char *value = getenv(variable);
    return value != nullptr && *value != '\0';
}

static void setDefault(const char *variable, const char *value)
{
    if (!isSet(variable))
        setenv(variable, value, 1);
}

// Empty when nobody says where the user's files are.
static fs::path defaultFolder()
{
    const char *base = getenv("XDG_STATE_HOME");
    if (base != nullptr && *base == '/') // a relative one counts as none
        return fs::path(base) / "webServer-sim";
    if (isSet("HOME"))
        return fs::path(getenv("HOME")) / ".local/state/webServer-sim";
    return {};
}

static int makeFolders(const fs::path &folder)
{
    for (const char *name : FOLDERS) {
        const std::string path = folder.string() + name;
        std::error_code error;
        fs::create_directories(path, error);
        if (error) {
            fprintf(stderr, "sim: cannot make %s: %s\n", path.c_str(), error.message().c_str());
            return -1;
        }
    }
    return 0;
}

static std::error_code copyNew(const fs::directory_entry &sample, const fs::path &to)
{
    std::error_code error;
    if (fs::exists(fs::symlink_status(to, error)))
        return {};
    if (sample.is_symlink(error))
        fs::copy_symlink(sample, to, error);
    else if (sample.is_directory(error))
        fs::create_directory(to, error);
    else if (fs::copy_file(sample, to, error)) // the samples may be write-protected; a copy is not
        fs::permissions(to, fs::perms::owner_write, fs::perm_options::add, error);
    return error;
}

// Fills in what is missing. A unit without samples is still a unit: failures only go to the log.
static void copySamples(const fs::path &folder)
{
    std::error_code error;
    for (fs::recursive_directory_iterator entry(SAMPLES, error), end; !error && entry != end;
         entry.increment(error)) {
        const fs::path to = folder / entry->path().lexically_relative(SAMPLES);
        const std::error_code failure = copyNew(*entry, to);
        if (failure)
            sLogWarn("unit: no sample %s: %s", to.c_str(), failure.message().c_str());
    }
    if (error)
        sLogWarn("unit: no more samples from %s: %s", SAMPLES, error.message().c_str());
}

// Nothing of the machine's may take the place of the unit's folders: an upload would write to it.
static int checkMachinesMnt(const std::string &configFolder)
{
    if (access("/mnt/flash", F_OK) == 0) {
        fprintf(stderr, "sim: this machine uses /mnt/flash itself, and the unit cannot have its "
                        "own: see the log\n");
        return -1;
    }
    if (configFolder.size() >= MAX_CONFIG_PATH) {
        fprintf(stderr, "sim: the path of the state folder is too long\n");
        return -1;
    }
    return 0;
}

int openStateFolder(const std::string &folder, std::string *root)
{
    root->clear();
    setDefault("WEB_DIR", DEFAULT_WEB_ROOT);
    std::error_code error;
    const fs::path base = fs::absolute(folder.empty() ? defaultFolder() : fs::path(folder), error);
    Mnt mnt = inheritedMnt();
    if (mnt == PRIVATE_MNT) { // and the state folder may no longer be seen under its own name
        setLogFile(LOG_FILE);
        folderOfMnt = base;
        return 0;
    }

    if (base.empty()) {
        fprintf(stderr, "sim: no home folder to keep the unit's files in: give --state DIR\n");
        return -1;
    }
    if (makeFolders(base) != 0)
        return -1;
    setLogFile((base.string() + LOG_FILE).c_str());
    copySamples(base);

    if (mnt == UNDECIDED_MNT)
        mnt = openPrivateMnt(base / "mnt");
    if (mnt == PRIVATE_MNT) {
        setLogFile(LOG_FILE);
        folderOfMnt = base;
        sLogInfo("unit: /mnt is %s/mnt", base.c_str());
        return 0;
    }
    *root = base.string();
    const std::string configFolder = *root + CONFIG_FOLDER;
    setDefault("CONFIG_DIR", configFolder.c_str());
    sLogInfo("unit: files are in %s/mnt", base.c_str());
    return checkMachinesMnt(configFolder);
}

std::string pathForPeople(const std::string &path)
{
    return path.compare(0, strlen("/mnt/"), "/mnt/") == 0 ? folderOfMnt + path : path;
}
