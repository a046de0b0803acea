// core/version.cpp: the version record that firmware tools find in the image, and the banner.
#include <cstdio>

#include "webServer.h"

// It is one structure, so that the arrays lie one after another between the markers. It is writable and
// marked as used, so that the compiler neither moves nor drops what it would take for constants. The
// build defines the two version texts from the project's version.
__attribute__((used)) static struct {
    char sm_markBeginVer[sizeof "markBeginVer"];
    char sm_webServerCurrentVer[sizeof WEBSERVER_VERSION];
    char sm_webServerCurrentSubVer[sizeof WEBSERVER_SUB_VERSION];
    char sm_webServerCompilationDate[sizeof __DATE__];
    char sm_webServerCompilationTime[sizeof __TIME__];
    char sm_markEndVer[sizeof "markEndVer"];
} versionRecord = {"markBeginVer", WEBSERVER_VERSION, WEBSERVER_SUB_VERSION,
                   __DATE__,       __TIME__,          "markEndVer"};

static char sm_webServerVerString[256];

int webServerShowVer(char **out)
{
    snprintf(sm_webServerVerString, sizeof sm_webServerVerString, "webServer:%s%s:%s %s\n",
             versionRecord.sm_webServerCurrentVer, versionRecord.sm_webServerCurrentSubVer,
             versionRecord.sm_webServerCompilationDate, versionRecord.sm_webServerCompilationTime);
    if (out == nullptr)
        fputs(sm_webServerVerString, stdout);
    else
        *out = sm_webServerVerString;
    return 0;
}
