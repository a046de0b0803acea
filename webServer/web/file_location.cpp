// web/file_location.cpp: where the file of a request lies: in the web root or a special folder.
#include "web/file_location.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "webServer.h"

struct SpecialFolder {
    const char *prefix;        // of the request
    const char *const *folder; // of the file system
    std::size_t dropped;       // characters of the path that the folder replaces
};

static const char *const NV_RAM = "/mnt/nvRam/";
static const char *const PRIVATE_DATA = "/mnt";

// Deliberate: four characters choose the folder, but ten are dropped ("/cfgFiles/"), so "/cfgX/abcdefg"
// is the file "efg" of the configuration. Old links rely on it. ".." is not checked.
static const SpecialFolder SPECIAL_FOLDERS[] = {
    {"/cfg", &g_configDir,  strlen("/cfgFiles/")},
    {"/nvr", &NV_RAM,       strlen("/nvrFiles/")},
    {"/pri", &PRIVATE_DATA, 0                   },
};

bool locateFile(const char *target, const char *path, char (&name)[FILE_NAME_SIZE])
{
    const char *folder = g_webDir;
    std::size_t dropped = *path == '/' ? 1 : 0;
    for (const SpecialFolder &special : SPECIAL_FOLDERS)
        if (strncmp(target, special.prefix, strlen(special.prefix)) == 0) {
            folder = *special.folder;
            dropped = special.dropped;
        }
    const int length =
        snprintf(name, sizeof name, "%s%s", folder, path + std::min(dropped, strlen(path)));
    return length < static_cast<int>(sizeof name);
}
