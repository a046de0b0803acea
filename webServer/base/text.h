// base/text.h: bounded text. What does not fit is cut between characters; every result is
// terminated.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

// The bytes of a text to keep so that at most limit are left and, in UTF-8, no character is split.
inline std::size_t fittingBytes(const char *text, std::size_t limit)
{
    const std::size_t length = strlen(text);
    if (length <= limit)
        return length;
    const auto continues = [text](std::size_t at) { return (text[at] & 0xC0) == 0x80; };
    const std::size_t mostFollowers = 3; // bytes after a character's first
    const std::size_t lowest = limit - std::min(limit, mostFollowers);
    std::size_t cut = limit;
    while (cut > lowest && continues(cut))
        --cut;
    return continues(cut) ? limit : cut; // no UTF-8, then: cut anywhere
}

// Appends to memory that somebody else owns, of at least one byte. Nothing follows a cut.
class TextWriter {
    char *next_;       // where the terminator stands
    std::size_t room_; // bytes left, the terminator's own not counted

public:
    TextWriter(char *memory, std::size_t size) : next_(memory), room_(size - 1) { *next_ = '\0'; }

    void append(const char *text)
    {
        const std::size_t length = fittingBytes(text, room_);
        room_ = text[length] == '\0' ? room_ - length : 0;
        memcpy(next_, text, length);
        next_ += length;
        *next_ = '\0';
    }
};
