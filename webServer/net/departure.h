// net/departure.h: what a client has not yet taken of its reply: bytes, then parts of files.
#pragma once

#include <cstddef>
#include <cstdint>

#include "net/byte_queue.h"

// A file, of which length bytes (at least one) from offset are to be sent. Its descriptor is closed
// afterwards.
struct FilePart {
    int descriptor;
    uint64_t offset;
    uint64_t length;
};

class Departure {
    ByteQueue bytes_;
    FilePart *files_ = nullptr; // from malloc
    int fileCount_ = 0;
    int nextFile_ = 0;
    bool failed_ = false; // the client or a file has failed: what is missing is never sent

    std::size_t sendBytes(int socket);
    std::size_t sendFile(int socket, FilePart *file);

public:
    Departure() = default; // clear() frees what it holds; nothing does so by itself
    Departure(const Departure &) = delete;
    Departure &operator=(const Departure &) = delete;

    bool isEmpty() const { return failed_ || (bytes_.size() == 0 && nextFile_ == fileCount_); }
    bool hasFailed() const { return failed_; }
    std::size_t parkedBytes() const { return bytes_.size(); }
    int openFiles() const { return fileCount_ - nextFile_; }

    // Sends what the client takes now and keeps the rest. Returns false when the client is gone or the
    // rest cannot be kept.
    bool send(int socket, const char *bytes, std::size_t count);

    // Takes the files over, to be sent after the bytes. Returns false when there is no memory, and when the
    // reply has files already.
    bool attach(const FilePart *files, int count);

    // Sends what the client takes now, up to a share that is fair to others. Returns how many bytes.
    std::size_t proceed(int socket);

    void clear();
};
