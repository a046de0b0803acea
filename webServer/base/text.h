// base/text.h: bounded text. What does not fit is cut; every result is terminated.
#pragma once

#include <cstddef>
#include <string_view>

// Formats into size bytes and terminates. Returns the bytes written, the terminator included; size
// when the text was cut; -1, and writes nothing, when size is not positive.
extern "C" int safe_sprintf(char *buf, int size, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));

// Returns true for spaces and control characters, which gSOAP passes over as white space.
inline bool isSpaceOrControl(char character)
{
    return static_cast<unsigned char>(character) <= ' ';
}

// Returns how many bytes of a text to keep so that at most limit are left and no UTF-8 character is
// split.
std::size_t fittingBytes(std::string_view text, std::size_t limit);

// Appends to memory of at least one byte, which the caller owns. Cuts between UTF-8 characters. After a cut
// it appends nothing more.
class TextWriter {
    char *next_;       // where the terminator stands
    std::size_t room_; // bytes left, not counting the terminator's

public:
    TextWriter(char *memory, std::size_t size) : next_(memory), room_(size - 1) { *next_ = '\0'; }

    void append(std::string_view text);

    void append(char character)
    {
        if (room_ == 0)
            return;
        --room_;
        *next_++ = character;
        *next_ = '\0';
    }
};
