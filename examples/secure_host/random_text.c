/* random_text.c: random bytes of the system, as hexadecimal digits. */
#define _GNU_SOURCE
#include "random_text.h"

#include <stdio.h>
#include <sys/random.h>
#include <sys/types.h>

enum { MAX_BYTES = 32 };

int randomText(char *text, size_t size)
{
    unsigned char random[MAX_BYTES];
    const size_t bytes = size / 2;
    if (bytes > sizeof random || getrandom(random, bytes, 0) != (ssize_t)bytes)
        return -1;
    for (size_t i = 0; i < bytes; ++i)
        snprintf(text + 2 * i, 3, "%02x", random[i]);
    return 0;
}
