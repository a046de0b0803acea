// sim/plain_text.cpp: finds the UTF-8 characters that must not be in a line.
#include "plain_text.h"

#include <algorithm>
#include <string_view>

using namespace std::literals;

static const std::size_t QUOTED_BYTES = 64;

static const struct {
    std::string_view first; // both ends have the same length and differ in the last byte only
    std::string_view last;
} NOT_PLAIN[] = {
    {"\0"sv,         "\x1f"        }, // ASCII controls
    {"\x7f",         "\x7f"        },
    {"\xc2\x80",     "\xc2\x9f"    }, // U+0080: more controls
    {"\xe2\x80\xa8", "\xe2\x80\xae"}, // U+2028: line ends and directions
    {"\xe2\x81\xa6", "\xe2\x81\xa9"}, // U+2066: directions
    {"\xef\xbf\xbe", "\xef\xbf\xbf"}, // U+FFFE: not characters
};

std::string plainText(std::string text)
{
    for (std::size_t at = 0; at < text.size(); ++at)
        for (const auto &[first, last] : NOT_PLAIN) {
            const std::size_t length = first.size();
            if (text.compare(at, length, first) >= 0 && text.compare(at, length, last) <= 0)
                std::fill_n(text.begin() + static_cast<std::ptrdiff_t>(at), length, '?');
        }
    return text;
}

std::string inQuotes(const std::string &text)
{
    std::size_t length = std::min(text.size(), QUOTED_BYTES);
    while (length > 0 && (text[length] & 0xc0) == 0x80) // in the middle of a UTF-8 character
        --length;
    std::string inside = text.substr(0, length);
    std::replace(inside.begin(), inside.end(), '"', '\'');
    return '"' + inside + (length == text.size() ? "\"" : "\"...");
}
