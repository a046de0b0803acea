// http/accept.cpp: the kind of answer that a client's Accept header asks for.
#include "http/accept.h"

#include <cstring>

#include "http/form_plugin.h"

// The first type that the header contains decides, whatever its weight. The order is behaviour.
static constexpr struct {
    const char *type;
    int result;
} ACCEPT_RULES[] = {
    {"application/json", ACCEPT_JSON},
    {"application/xml",  ACCEPT_XML },
    {"text/html",        ACCEPT_HTML},
    {"text/plain",       ACCEPT_TEXT},
    {"*/*",              ACCEPT_ANY },
};

int handleHTTPAccept(struct soap *soap)
{
    const char *accept = acceptHeader(soap);
    if (accept == nullptr)
        return ACCEPT_ANY;
    for (const auto &rule : ACCEPT_RULES)
        if (strstr(accept, rule.type) != nullptr)
            return rule.result;
    return ACCEPT_HTML;
}
