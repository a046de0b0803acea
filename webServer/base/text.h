// base/text.h: bounded text. What does not fit is cut; every result is terminated.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

// Formats into size bytes and terminates. Returns the bytes written, the terminator included; size
// when the text was cut; -1, and writes nothing, when size is not positive.
extern "C" int safe_sprintf(char *buf, int size, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));

// Returns how many bytes of a text to keep so that at most limit are left and no UTF-8 character is
// split.
inline std::size_t fittingBytes(const char *text, std::size_t limit)
{
    const std::size_t length = strlen(text);
    if (length <= limit)
        return length;
    const auto continues = [text](std::size_t at) { return (text[at] & 0xC0) == 0x80; };
    const std::size_t mostFollowers = 3; // a UTF-8 character has at most four bytes
    const std::size_t lowest = limit - std::min(limit, mostFollowers);
    std::size_t cut = limit;
    while (cut > lowest && continues(cut))
        --cut;
    return continues(cut) ? limit : cut; // four in a row are not UTF-8: cut anywhere
}

// Appends to memory that the caller owns, of at least one byte. Cuts between UTF-8 characters; once a
// text was cut, nothing more is appended.
class TextWriter {
    char *next_;       // where the terminator stands
    std::size_t room_; // bytes left, not counting the terminator's

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
