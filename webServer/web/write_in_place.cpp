// web/write_in_place.cpp: writes over a file's content, and puts it back when that fails.
#include "web/write_in_place.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

#include "http/open_file.h"

// The part of the old content that the new one overwrites.
struct Overwritten {
    std::unique_ptr<char[]> bytes;
    std::size_t size;
};

bool syncFile(int file)
{
    return fsync(file) == 0 || errno == EINVAL; // the file system cannot sync
}

bool writeBytes(int file, const char *bytes, std::size_t from, std::size_t to)
{
    while (from < to) {
        const ssize_t written = pwrite(file, bytes + from, to - from, static_cast<off_t>(from));
        if (written <= 0)
            return false;
        from += static_cast<std::size_t>(written);
    }
    return syncFile(file);
}

// Reads the first bytes of a file. Returns false, with errno, when they cannot be read or kept.
static bool keep(const char *path, Overwritten *old)
{
    const File file = openFile(path, FOR_READING);
    if (file == nullptr)
        return false;
    old->bytes.reset(new (std::nothrow) char[old->size]);
    return old->bytes != nullptr && fread(old->bytes.get(), 1, old->size, file.get()) == old->size;
}

// Removes the file that a link names, because the link itself was there before.
static void removeFile(const char *path)
{
    char place[PATH_MAX];
    if (realpath(path, place) != nullptr)
        unlink(place);
}

WriteOutcome writeInPlace(const char *path, const Content &content, int reason)
{
    struct stat status = {};
    const bool existed = stat(path, &status) == 0;
    const File opened = openFile(path, FOR_CREATING);
    if (opened == nullptr)
        return {NOT_WRITTEN, reason};
    const int file = fileno(opened.get());

    Overwritten old = {nullptr, 0};
    old.size = static_cast<std::size_t>(
        std::min(static_cast<uint64_t>(status.st_size), static_cast<uint64_t>(content.size)));
    // A file that may be written but not read is written all the same. It cannot be restored then.
    const bool kept = !existed || keep(path, &old);
    if (!kept && (reason != 0 || errno != EACCES))
        return {NOT_WRITTEN, reason != 0 ? reason : errno};

    // What exceeds the old content comes first: when there is no room for it, the old content has not
    // been touched. The rest needs no room on most file systems.
    const bool extended = writeBytes(file, content.bytes, old.size, content.size);
    if (extended && writeBytes(file, content.bytes, 0, old.size)
        && ftruncate(file, static_cast<off_t>(content.size)) == 0)
        return {WRITTEN_IN_PLACE, syncFile(file) ? reason : errno};
    const int error = errno;
    if (!existed) {
        removeFile(path);
        return {NOT_WRITTEN, error};
    }
    const bool restored =
        ftruncate(file, status.st_size) == 0
        && (!extended || (kept && writeBytes(file, old.bytes.get(), 0, old.size)));
    return {restored ? NOT_WRITTEN : LOST, error};
}
