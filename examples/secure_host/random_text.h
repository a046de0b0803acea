/* random_text.h: texts that nobody can guess. */
#ifndef RANDOM_TEXT_H
#define RANDOM_TEXT_H

#include <stddef.h>

/* Fills the text with size - 1 hexadecimal digits, 4 random bits each; size is odd and at most 65. Returns 0,
 * or -1 if the system gives no random numbers. */
int randomText(char *text, size_t size);

#endif
