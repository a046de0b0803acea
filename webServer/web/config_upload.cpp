// web/config_upload.cpp: the command that writes an uploaded configuration file.
#include "web/config_upload.h"

#include <cstdio>
#include <cstring>
#include <stdsoap2.h>

#include "http/open_file.h"
#include "http/send_file.h"
#include "session/gate.h"
#include "webServer.h"

static const std::size_t NAME_SIZE = 128;

static char *takeUntil(char separator, char **cursor)
{
    char *part = *cursor;
    if (*part == '\0')
        return *cursor = nullptr;
    *cursor = strchrnul(part, separator);
    if (**cursor != '\0')
        *(*cursor)++ = '\0';
    return part;
}

char *query_key2(struct soap *, char **cursor)
{
    return takeUntil('=', cursor);
}

char *query_val2(struct soap *, char **cursor)
{
    return takeUntil('&', cursor);
}

// The form's content field, null when there is none; copies the file's name if it stands before it.
// Deliberate: a value ends at the first "&" and is taken as sent, without unescaping.
static const char *findContent(struct soap *soap, char *cursor, char (&name)[NAME_SIZE])
{
    while (cursor != nullptr) {
        const char *key = query_key2(soap, &cursor);
        const char *value = cursor == nullptr ? nullptr : query_val2(soap, &cursor);
        if (key == nullptr || value == nullptr)
            continue;
        // Deliberate: substrings, since the first key carries the form's "?".
        if (strstr(key, "fileName") != nullptr)
            snprintf(name, sizeof name, "%s", value);
        else if (strstr(key, "xmlString") != nullptr)
            return value;
    }
    return nullptr;
}

// Deliberate: the name is taken as it is, ".." included; who may upload is trusted with it.
static void writeFile(const char *name, const char *content)
{
    const bool fixed = strcmp(name, "netConfig.xml") == 0 || strcmp(name, "userLogin.xml") == 0;
    const char *folder = fixed ? "/mnt/flash/" : g_configDir;
    if (folder == nullptr)
        return;
    const bool separated = *folder != '\0' && folder[strlen(folder) - 1] == '/';
    char path[NAME_SIZE];
    snprintf(path, sizeof path, separated ? "%s%s" : "%s/%s", folder, name);
    const File file = openFile(path, FOR_WRITING);
    if (file != nullptr)
        fputs(content, file.get());
}

int uploadConfiguration(struct soap *soap, char *body)
{
    if (askGate(soap, WS_LEVEL_WRITE) != WS_ALLOWED) {
        if (body != nullptr)
            soap_dealloc(soap, body);
        return -1;
    }
    char name[NAME_SIZE] = "";
    const char *content = findContent(soap, body, name);
    if (content == nullptr)
        return 0; // Deliberate: nothing is written, and nothing answered.
    writeFile(name, content);
    // Deliberate: 200 whether or not the file could be written.
    soap->http_content = "text/html"; // not the form's own
    soap_response(soap, SOAP_FILE);
    return endReply(soap);
}
