// web/write_in_place.h: writes over a file's content, and puts it back when that fails.
#pragma once

#include <cstddef>

struct Content {
    const char *bytes;
    std::size_t size;
};

enum WriteResult {
    WRITTEN,
    WRITTEN_IN_PLACE, // where a power cut would have lost the old content
    NOT_WRITTEN,      // the old content stands, or there still is no file
    LOST,             // neither content is whole
    TRY_IN_PLACE,     // not written, and writing in place may work
};

struct WriteOutcome {
    WriteResult result;
    int error; // what went wrong on the way, an errno; 0: nothing that is worth a line in the log
};

// Writes the bytes from..to of a content to their place in a file, and syncs it. Returns false, with
// errno, when that fails.
bool writeBytes(int file, const char *bytes, std::size_t from, std::size_t to);

// Syncs a file or folder. Returns false, with errno, when that fails.
bool syncFile(int file);

// Writes a file where it stands, or creates it. reason is the error that kept the caller from writing
// another file first; 0 when it was not an error. Meanwhile it keeps the part of the old content that it
// overwrites in memory.
WriteOutcome writeInPlace(const char *path, const Content &content, int reason);
