// http/open_file.h: opens files whose names come from clients.
#pragma once

#include <cstdio>
#include <memory>

struct CloseFile {
    void operator()(FILE *file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

enum FileUse {
    FOR_READING,
    FOR_WRITING,  // a file that exists, without emptying it
    FOR_CREATING, // for writing as well; creates the file when there is none
};

// Opens a file for reading as openFile does. Returns its descriptor, -1 when that fails.
int openDescriptor(const char *path);

// Opens a file. Never blocks, and keeps the descriptor from programs that the host starts. Returns null
// when the file cannot be opened, for devices and pipes, and for anything below /proc and /sys.
File openFile(const char *path, FileUse use);
