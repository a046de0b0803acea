// http/client_info.cpp: what a request tells of its client: address, wished answer, verb.
#include "http/client_info.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <stdsoap2.h>

#include "http/form_plugin.h"
#include "webServer.h"

char *httpGetIp(struct soap *soap)
{
    if (soap == nullptr)
        return nullptr;
    // Deliberate: an address of 15 characters loses its last one. Sessions are compared in this form.
    char text[15];
    const auto byte = [soap](int shift) { return static_cast<long>(soap->ip >> shift & 0xFF); };
    safe_sprintf(text, sizeof text, "%ld.%ld.%ld.%ld", byte(24), byte(16), byte(8), byte(0));
    return soap_strdup(soap, text);
}

void httpClearIp(char *text)
{
    if (text != nullptr)
        memset(text, 0, 4); // an address text has eight bytes or more
}

int handleHTTPAccept(struct soap *soap)
{
    static const struct {
        const char *type;
        int result;
    } RULES[] = {
        {"application/json", ACCEPT_JSON},
        {"application/xml",  ACCEPT_XML },
        {"text/html",        ACCEPT_HTML},
        {"text/plain",       ACCEPT_TEXT},
        {"*/*",              ACCEPT_ANY },
    };
    const char *accept = acceptHeader(soap);
    if (accept == nullptr)
        return ACCEPT_ANY;
    for (const auto &rule : RULES)
        if (strstr(accept, rule.type) != nullptr)
            return rule.result;
    return ACCEPT_HTML;
}

int getHTTPVerb(struct soap *soap)
{
    if (strncmp(soap->msgbuf, "GET ", 4) == 0)
        return 0;
    if (strncmp(soap->msgbuf, "POST ", 5) == 0)
        return 1;
    return soap->status == SOAP_GET ? 0 : soap->status == SOAP_POST ? 1 : -1;
}

int safe_sprintf(char *buf, int size, const char *fmt, ...)
{
    if (size <= 0)
        return -1;
    va_list arguments;
    va_start(arguments, fmt);
    const int length = vsnprintf(buf, static_cast<std::size_t>(size), fmt, arguments);
    va_end(arguments);
    if (length >= 0 && length < size)
        return length + 1;
    buf[size - 1] = '\0';
    return size;
}
