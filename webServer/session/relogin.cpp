// session/relogin.cpp: sends a refused browser back to the login page.
#include "session/relogin.h"

#include <cstdio>

#include "http/send_file.h"

static const std::size_t TARGET_SIZE = 30 + 1;

int reLogin(struct soap *soap, const char *code)
{
    char target[TARGET_SIZE] = "/index.htm";
    if (code != nullptr)
        snprintf(target, sizeof target, "/index.htm?u=%s", code);
    char page[128];
    snprintf(page, sizeof page,
             "<html>\n<body onLoad=window.location.href='%s'; > </body>\n</html>", target);
    sendText(soap, "text/html", page);
    return 0;
}

int refuseLogin(struct soap *soap, const char *code, int result)
{
    reLogin(soap, code);
    return result;
}
