// bench/allocator.h: the C library's allocator, counted. A program that includes it defines three functions
// first: mustFail(), counted(BLOCK, SIZE), which returns the block, and forget(BLOCK) for one that is freed.
// Its functions win over those of the library, also where the C library itself allocates (fdopen, opendir).
#pragma once

#include <cstddef>

#include "webServer.h"

extern "C" {

void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void __libc_free(void *block);

WS_EXPORT void *malloc(std::size_t size) noexcept
{
    return mustFail() ? nullptr : counted(__libc_malloc(size), size);
}

WS_EXPORT void *calloc(std::size_t count, std::size_t size) noexcept
{
    return mustFail() ? nullptr : counted(__libc_calloc(count, size), count * size);
}

WS_EXPORT void *realloc(void *block, std::size_t size) noexcept
{
    if (mustFail())
        return nullptr;
    forget(block);
    return counted(__libc_realloc(block, size), size);
}

WS_EXPORT void free(void *block) noexcept
{
    forget(block);
    __libc_free(block);
}

} // extern "C"
