// sim/plain_text.cpp: the table of the characters that must not be in a line, in UTF-8.
#include "plain_text.h"

#include <cstring>

static const struct {
    const char *first; // with the same bytes as the last, but for the last one
    const char *last;
} UNFIT[] = {
    {"\x01",         "\x1f"        }, // controls of ASCII
    {"\x7f",         "\x7f"        },
    {"\xc2\x80",     "\xc2\x9f"    }, // U+0080: more controls
    {"\xe2\x80\xa8", "\xe2\x80\xae"}, // U+2028: ends of lines, directions
    {"\xe2\x81\xa6", "\xe2\x81\xa9"}, // U+2066: directions
    {"\xef\xbf\xbe", "\xef\xbf\xbf"}, // U+FFFE: no characters
};

std::size_t unfitBytes(const char *text)
{
    for (const auto &range : UNFIT) {
        const std::size_t length = strlen(range.first);
        if (strncmp(text, range.first, length) >= 0 && strncmp(text, range.last, length) <= 0)
            return length;
    }
    return 0;
}
