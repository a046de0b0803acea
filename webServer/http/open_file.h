// http/open_file.h: opens files whose names come from clients.
#pragma once

#include <cstdio>
#include <memory>

struct CloseFile {
    void operator()(FILE *file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

enum FileUse { FOR_READING, FOR_WRITING };

// Opens a file, emptied or made when for writing. Null when that fails, for devices and pipes, and for
// what is below /proc and /sys. Never blocks, and programs that the host starts do not inherit the file.
File openFile(const char *path, FileUse use);
