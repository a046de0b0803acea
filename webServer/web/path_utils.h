// web/path_utils.h: request paths: split, unescaped. More of its functions are in webServer.h.
#pragma once

enum { PATH_PART_SIZE = 300 + 1 }; // characters and terminator

extern "C" {

// Splits a request path at its first "?", which stays with the query. At most 300 characters go to
// each buffer, whose size is PATH_PART_SIZE. Always 0; null leaves the buffers alone.
int parseURL(const char *url, char *path, char *query);

// The byte that two hexadecimal digits stand for; other characters are not told apart from digits.
char x2c(const char *digits);

// Replaces %xx by the byte it stands for, in place. A "%" without two characters behind it stays.
void unescape_url(char *text);
}
