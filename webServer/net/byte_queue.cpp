// net/byte_queue.cpp: bytes in the order in which they came, in blocks that are freed as they are read.
#include "net/byte_queue.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

struct ByteQueue::Block {
    Block *next;
    std::size_t begin, end; // of the bytes in use
    char bytes[BLOCK_BYTES - 3 * sizeof(std::size_t)];
};

char *ByteQueue::room(std::size_t *bytes)
{
    if (last_ == nullptr || last_->end == sizeof last_->bytes) {
        auto *block = static_cast<Block *>(malloc(sizeof(Block)));
        if (block == nullptr)
            return nullptr;
        block->next = nullptr;
        block->begin = block->end = 0;
        (last_ == nullptr ? first_ : last_->next) = block;
        last_ = block;
    }
    *bytes = sizeof last_->bytes - last_->end;
    return last_->bytes + last_->end;
}

void ByteQueue::added(std::size_t bytes)
{
    last_->end += bytes;
    size_ += bytes;
}

bool ByteQueue::append(const char *bytes, std::size_t count)
{
    while (count > 0) {
        std::size_t length;
        char *to = room(&length);
        if (to == nullptr)
            return false;
        length = std::min(length, count);
        memcpy(to, bytes, length);
        added(length);
        bytes += length;
        count -= length;
    }
    return true;
}

const char *ByteQueue::front(std::size_t *bytes) const
{
    if (size_ == 0)
        return nullptr;
    *bytes = first_->end - first_->begin;
    return first_->bytes + first_->begin;
}

void ByteQueue::remove(std::size_t bytes)
{
    first_->begin += bytes;
    size_ -= bytes;
    if (first_->begin < first_->end)
        return;
    Block *next = first_->next;
    free(first_);
    first_ = next;
    if (first_ == nullptr)
        last_ = nullptr;
}

void ByteQueue::clear()
{
    while (first_ != nullptr)
        free(std::exchange(first_, first_->next));
    last_ = nullptr;
    size_ = 0;
}
