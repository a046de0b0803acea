// soap/fault_detail.cpp: fault details that carry a client's text.
#include "soap/fault_detail.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "base/text.h"
#include "gsoap/request_memory.h"

static constexpr std::size_t DETAIL_SIZE = 1023 + 1;
static constexpr std::size_t LONGEST_ESCAPE = sizeof "&amp;" - 1;

// Returns what to write for a character in XML text; null when it stands for itself.
static const char *escapeOf(char character)
{
    switch (character) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '\r':
        return "&#xD;";
    case '\t':
    case '\n':
        return nullptr;
    default: // XML cannot carry the other control characters
        return static_cast<unsigned char>(character) < ' ' ? "?" : nullptr;
    }
}

const char *faultDetail(struct soap *soap, const char *format, ...)
{
    char plain[DETAIL_SIZE + 1]; // one byte more shows whether the cut would split a character
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(plain, sizeof plain, format, arguments);
    va_end(arguments);
    plain[fittingBytes(plain, DETAIL_SIZE - 1)] = '\0';

    const std::size_t size = LONGEST_ESCAPE * strlen(plain) + 1;
    char *escaped = requestText(soap, size);
    if (escaped == nullptr)
        return nullptr;
    TextWriter writer(escaped, size);
    for (const char *next = plain; *next != '\0'; ++next) {
        const char character[] = {*next, '\0'};
        const char *escape = escapeOf(*next);
        writer.append(escape == nullptr ? character : escape);
    }
    return escaped;
}
