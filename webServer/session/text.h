// session/text.h: bounded text. What does not fit is cut; every result is terminated.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

// Appends to memory that somebody else owns, of at least one byte.
class TextWriter {
    char *next_;       // where the terminator stands
    std::size_t room_; // bytes left, the terminator's own not counted

public:
    TextWriter(char *memory, std::size_t size) : next_(memory), room_(size - 1) { *next_ = '\0'; }

    void append(const char *text)
    {
        const std::size_t length = std::min(strlen(text), room_);
        memcpy(next_, text, length);
        next_ += length;
        room_ -= length;
        *next_ = '\0';
    }
};
