// web/get_handler.cpp: answers a browser's GET: locate, find the rule, check access, send.
#include "web/get_handler.h"

#include <cstdio>
#include <cstring>
#include <stdsoap2.h>

#include "http/send_file.h"
#include "session/gate.h"
#include "session/request_check.h"
#include "web/file_location.h"
#include "web/file_rules.h"
#include "web/path_utils.h"
#include "webServer.h"

static constexpr char LOG_FOLDER[] = "/mnt/flash/log/";
static constexpr int REFUSED = -1; // Deliberate: gSOAP then closes the connection without a reply.

// Deliberate: drops the first five characters wherever "/cgi/" stands, so "/x/cgi/y.png" becomes
// "i/y.png". Old links begin with "/cgi/".
static void dropCgiPrefix(char *target)
{
    if (strstr(target, "/cgi/") != nullptr)
        memmove(target, target + 5, strlen(target + 5) + 1);
}

// Deliberate: every target that begins so is the index page, since refusals lead here with a reason code.
// ROOT_FILE does not count. This is the one page that needs no session.
static bool isIndexPage(const char *target)
{
    return strcmp(target, "/") == 0 || strncmp(target, "index.htm", 9) == 0
           || strncmp(target, "/index.htm", 10) == 0;
}

static bool hasSession(struct soap *soap)
{
    return httpCheckUser(soap, 1, 0, nullptr) == 0;
}

static bool mayRead(struct soap *soap)
{
    return askGate(soap, WS_LEVEL_READ) == WS_ALLOWED;
}

// Deliberate: a caller who may not see the log gets no reply, and the result is 0 all the same. Log pages
// poll, and take silence for "not for you".
static int sendLog(struct soap *soap, const char *contentType)
{
    if (!hasSession(soap) || g_csEnabled == 0 || !mayRead(soap))
        return 0;
    sendFolder(soap, contentType, LOG_FOLDER, ".log");
    return 0;
}

static bool isAllowed(struct soap *soap, FileAccess access)
{
    if (access == FOR_ANYONE)
        return true;
    return hasSession(soap) && (access == FOR_SESSIONS || g_csEnabled == 0 || mayRead(soap));
}

// Returns true when the rule was found by the file's name and nothing more: "netConfig.xml?x.png" counts as a
// picture by its query. Pages take a query.
static bool wasFoundByName(const FileRule &rule, const char *target, const char *path)
{
    return rule.match == MATCH_PATH || strcmp(target, path) == 0;
}

int http_get_handler(struct soap *soap)
{
    char *target = soap->path;
    dropCgiPrefix(target);
    if (g_webStrict != 0 && strstr(target, "..") != nullptr)
        return REFUSED;
    char path[PATH_PART_SIZE], query[PATH_PART_SIZE]; // parseURL fills both; the query is not used
    parseURL(target, path, query);

    char name[FILE_NAME_SIZE];
    if (isIndexPage(target)) {
        snprintf(name, sizeof name, "%s%s", g_webDir, "index.htm");
        return copy_file(soap, name, "text/html");
    }
    const bool whole = locateFile(target, path, name);

    const FileRule *rule = findFileRule(target, path);
    if (rule == nullptr || (g_webStrict != 0 && !(whole && wasFoundByName(*rule, target, path))))
        return REFUSED;
    if (rule->access == LOG_FOR_READERS)
        return sendLog(soap, rule->contentType);
    return isAllowed(soap, rule->access) ? copy_file(soap, name, rule->contentType) : REFUSED;
}
