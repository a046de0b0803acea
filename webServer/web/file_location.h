// web/file_location.h: where the file of a request lies.
#pragma once

#include <cstddef>

constexpr std::size_t FILE_NAME_SIZE = 298 + 1;

// Writes the file's name, cut to the size of name. Returns false when it had to be cut. target is the whole
// request path, path its part before the query.
bool locateFile(const char *target, const char *path, char (&name)[FILE_NAME_SIZE]);
