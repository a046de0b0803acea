// base/text.cpp: bounded text. What does not fit is cut; every result is terminated.
#include "base/text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

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

std::size_t fittingBytes(std::string_view text, std::size_t limit)
{
    if (text.size() <= limit)
        return text.size();
    const auto continues = [text](std::size_t at) { return (text[at] & 0xC0) == 0x80; };
    const std::size_t mostFollowers = 3; // a UTF-8 character has at most four bytes
    const std::size_t lowest = limit - std::min(limit, mostFollowers);
    std::size_t cut = limit;
    while (cut > lowest && continues(cut))
        --cut;
    return continues(cut) ? limit : cut; // four in a row are not UTF-8: cut anywhere
}

void TextWriter::append(std::string_view text)
{
    const std::size_t length = fittingBytes(text, room_);
    room_ = length == text.size() ? room_ - length : 0;
    memcpy(next_, text.data(), length);
    next_ += length;
    *next_ = '\0';
}
