// net/byte_queue.h: bytes in the order in which they came, in blocks that are freed as they are read.
#pragma once

#include <cstddef>

#include "base/units.h"

class ByteQueue {
    struct Block;
    Block *first_ = nullptr;
    Block *last_ = nullptr;
    std::size_t size_ = 0;

    static Block *makeBlock(bool isPages);
    static void freeBlock(Block *block);

public:
    // Small enough that a connection with half a header costs little, large enough that an ordinary
    // request takes one.
    static constexpr std::size_t BLOCK_BYTES = 8 * KIB;

    ByteQueue() = default; // clear() frees what it holds; nothing does so by itself
    ByteQueue(const ByteQueue &) = delete;
    ByteQueue &operator=(const ByteQueue &) = delete;

    std::size_t size() const { return size_; }

    // Returns where the next bytes may be written, and how many; null when there is no memory. Follow it
    // with added().
    char *room(std::size_t *bytes);
    void added(std::size_t bytes);

    // Appends a copy. Returns false when there is no memory for all of it.
    bool append(const char *bytes, std::size_t count);

    // Returns the first bytes, and how many stand together; null when there are none. Follow it with
    // remove().
    const char *front(std::size_t *bytes) const;
    void remove(std::size_t bytes);

    void clear();
};
