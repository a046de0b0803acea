// web/path_utils.h: splits and unescapes request paths. webServer.h declares the functions of
// path_utils.cpp that are for hosts.
#pragma once

#include <cstddef>

constexpr std::size_t PATH_PART_SIZE = 300 + 1;

extern "C" {

// Splits a request path at its first "?", which stays with the query. Writes at most 300 characters and
// a terminator to each buffer, whose size is PATH_PART_SIZE. Writes nothing for null. Returns 0.
int parseURL(const char *url, char *path, char *query);

// Returns the byte that two hexadecimal digits stand for. Does not check that they are digits.
char x2c(const char *digits);

// Replaces every %xx by the byte it stands for, in place. A "%" that fewer than two characters follow
// stays.
void unescape_url(char *text);
}
