// session/relogin.cpp: sends a browser back to the login page.
#include "session/relogin.h"

#include <cstdio>

#include "http/send_file.h"

static constexpr std::size_t TARGET_SIZE = 30 + 1;
static constexpr std::size_t REPLY_SIZE = 128; // with the longest target the page has 92 characters

int reLogin(struct soap *soap, const char *code)
{
    char target[TARGET_SIZE] = "/index.htm";
    if (code != nullptr)
        snprintf(target, sizeof target, "/index.htm?u=%s", code);
    char page[REPLY_SIZE];
    snprintf(page, sizeof page,
             "<html>\n<body onLoad=window.location.href='%s'; > </body>\n</html>", target);
    sendText(soap, "text/html", page);
    return 0;
}
