// base/text.cpp: bounded formatting.
#include "base/text.h"

#include <cstdarg>
#include <cstdio>

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
