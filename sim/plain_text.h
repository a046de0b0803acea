// sim/plain_text.h: which characters a line of text for people must not have.
#ifndef SIM_PLAIN_TEXT_H
#define SIM_PLAIN_TEXT_H

#include <cstddef>

// The length of the character at the beginning of the text, if it is one that steers a terminal,
// ends a line, turns the direction of writing, or that XML does not know; else 0.
std::size_t unfitBytes(const char *text);

#endif
