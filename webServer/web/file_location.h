// web/file_location.h: where the file of a request lies.
#pragma once

#include <cstddef>

enum { FILE_NAME_SIZE = 299 };

// Writes the file's name, cut to FILE_NAME_SIZE. target is the whole request path, path the part of
// it before the query.
void locateFile(const char *target, const char *path, char (&name)[FILE_NAME_SIZE]);
