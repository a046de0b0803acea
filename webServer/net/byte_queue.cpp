// net/byte_queue.cpp: bytes in the order in which they came, in blocks that are freed as they are read.
#include "net/byte_queue.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <utility>

// The first blocks come from the heap. Beyond so many bytes they are pages of their own, which go back to the
// system when they are read: gSOAP may collect the bytes of a large request meanwhile, and the heap would keep
// both. For shorter requests the system calls would cost more than the copy.
static constexpr std::size_t MORE_BYTES = 64 * KIB;

struct ByteQueue::Block { // and after it, its bytes
    Block *next;
    std::size_t begin, end; // of the bytes in use
    std::size_t size;       // of the bytes
    bool isPages;

    char *bytes() { return reinterpret_cast<char *>(this + 1); }
};

static void *newPages(std::size_t size)
{
    const int flags = MAP_PRIVATE | MAP_ANONYMOUS;
    void *pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, flags, -1, 0);
    return pages == MAP_FAILED ? nullptr : pages;
}

ByteQueue::Block *ByteQueue::makeBlock(bool isPages)
{
    const std::size_t size = isPages ? MORE_BYTES : BLOCK_BYTES;
    auto *block = static_cast<Block *>(isPages ? newPages(size) : malloc(size));
    if (block == nullptr)
        return nullptr;
    block->next = nullptr;
    block->begin = block->end = 0;
    block->size = size - sizeof *block;
    block->isPages = isPages;
    return block;
}

void ByteQueue::freeBlock(Block *block)
{
    if (block->isPages)
        munmap(block, MORE_BYTES);
    else
        free(block);
}

char *ByteQueue::room(std::size_t *bytes)
{
    if (last_ == nullptr || last_->end == last_->size) {
        Block *block = makeBlock(size_ >= MORE_BYTES);
        if (block == nullptr)
            return nullptr;
        (last_ == nullptr ? first_ : last_->next) = block;
        last_ = block;
    }
    *bytes = last_->size - last_->end;
    return last_->bytes() + last_->end;
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
    return first_->bytes() + first_->begin;
}

void ByteQueue::remove(std::size_t bytes)
{
    first_->begin += bytes;
    size_ -= bytes;
    if (first_->begin < first_->end)
        return;
    Block *next = first_->next;
    freeBlock(first_);
    first_ = next;
    if (first_ == nullptr)
        last_ = nullptr;
}

void ByteQueue::clear()
{
    while (first_ != nullptr)
        freeBlock(std::exchange(first_, first_->next));
    last_ = nullptr;
    size_ = 0;
}
