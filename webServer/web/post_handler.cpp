// web/post_handler.cpp: answers a browser's form POST: an upload, or a command of its session.
#include "web/post_handler.h"

#include <cstring>
#include <stdsoap2.h>

#include "gsoap/body.h"
#include "http/origin.h"
#include "web/config_upload.h"
#include "web/session_commands.h"
#include "webServer.h"

int calcPostCgi(struct soap *soap)
{
    if (g_webStrict != 0 && namesAnotherOrigin(soap))
        return -1;
    char *body = form(soap);
    // Deliberate: the whole target is compared, so one with a query is not an upload.
    const bool upload =
        strcmp(soap->path, "/cgi/printenv.html") == 0 || strcmp(soap->path, "/cgi/upconfig") == 0;
    return upload ? uploadConfiguration(soap, body) : runSessionCommand(soap, body);
}

int http_post_handler(struct soap *soap)
{
    return calcPostCgi(soap);
}
