// session/relogin.cpp: sends a refused browser back to the login page.
#include "session/relogin.h"

#include <cstdio>
#include <cstring>
#include <stdsoap2.h>

#include "web/http/send_file.h"

int reLogin(struct soap *soap, const char *code)
{
    char target[31];
    snprintf(target, sizeof target, "/index.htm%s%s",
             code == nullptr ? "" : "?u=", code == nullptr ? "" : code);
    char page[128];
    snprintf(page, sizeof page,
             "<html>\n<body onLoad=window.location.href='%s'; > </body>\n</html>", target);
    sendText(soap, "text/html", page);
    return 0;
}
