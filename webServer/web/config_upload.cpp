// web/config_upload.cpp: the command that writes an uploaded configuration file.
#include "web/config_upload.h"

#include <cstdio>
#include <cstring>
#include <stdsoap2.h>

#include "gsoap/reply.h"
#include "http/form_fields.h"
#include "session/gate.h"
#include "web/replace_file.h"
#include "webServer.h"

static constexpr std::size_t NAME_SIZE = 127 + 1;

// Returns the form's content field, null when there is none, and copies the file's name if that comes
// first. Deliberate: a value ends at the first "&" and is taken as sent, without unescaping.
static const char *findContent(char *body, char (&name)[NAME_SIZE])
{
    FormFields field(body, AS_SENT);
    while (field.next()) {
        // Deliberate: substrings, since the first key begins with the form's "?".
        if (strstr(field.key, "fileName") != nullptr)
            snprintf(name, sizeof name, "%s", field.value);
        else if (strstr(field.key, "xmlString") != nullptr)
            return field.value;
    }
    return nullptr;
}

// A name of a file in the folder itself, and not of a hidden one.
static bool isPlainName(const char *name)
{
    return *name != '\0' && *name != '.' && validateFilenameSyntax(name) != 0;
}

// Returns false when WEB_STRICT refuses the name. Deliberate: otherwise it is taken as it is, ".." included.
// Anyone who may upload is trusted with that.
static bool writeFile(const char *name, const char *content)
{
    const bool fixed = strcmp(name, "netConfig.xml") == 0 || strcmp(name, "userLogin.xml") == 0;
    const char *folder = fixed ? "/mnt/flash/" : g_configDir;
    if (folder == nullptr)
        return true;
    const bool separated = *folder != '\0' && folder[strlen(folder) - 1] == '/';
    char path[NAME_SIZE];
    const int length = snprintf(path, sizeof path, separated ? "%s%s" : "%s/%s", folder, name);
    if (g_webStrict != 0 && (!isPlainName(name) || length >= static_cast<int>(sizeof path)))
        return false;
    replaceFile(path, {content, strlen(content)});
    return true;
}

int uploadConfiguration(struct soap *soap, char *body)
{
    if (askGate(soap, WS_LEVEL_WRITE) != WS_ALLOWED) {
        if (body != nullptr)
            soap_dealloc(soap, body);
        return -1;
    }
    char name[NAME_SIZE] = "";
    const char *content = findContent(body, name);
    if (content == nullptr)
        return 0; // Deliberate: nothing is written and no reply is sent.
    if (!writeFile(name, content))
        return -1;
    // Deliberate: 200 whether or not the file could be written.
    soap->http_content = "text/html"; // gSOAP would repeat the type of the form
    soap_response(soap, SOAP_FILE);
    return endReply(soap);
}
