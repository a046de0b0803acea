// web/post_handler.cpp: answers a browser's form POST: which family of commands is it?
#include "web/post_handler.h"

#include <cstring>
#include <stdsoap2.h>

#include "http/form_plugin.h"
#include "web/config_upload.h"
#include "web/session_commands.h"

int calcPostCgi(struct soap *soap)
{
    char *body = form(soap);
    // Deliberate: the whole target, so that one with a query is no upload.
    const bool upload =
        strcmp(soap->path, "/cgi/printenv.html") == 0 || strcmp(soap->path, "/cgi/upconfig") == 0;
    return upload ? uploadConfiguration(soap, body) : runSessionCommand(soap, body);
}

int http_post_handler(struct soap *soap)
{
    return calcPostCgi(soap);
}
